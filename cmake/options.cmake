# Choices of the build, and the flags that follow from them.

option(BUILD_SHARED_LIBS "Build zivra as a shared library" ON)
option(ZIVRA_BUILD_SIM "Build the simulated controller" ${PROJECT_IS_TOP_LEVEL})
option(ZIVRA_BUILD_EXAMPLES "Build the examples" ${PROJECT_IS_TOP_LEVEL})
option(ZIVRA_BUILD_TESTS "Build the tests" ${PROJECT_IS_TOP_LEVEL})
option(ZIVRA_BUILD_BINDING "Build the layer below the .NET binding" ${PROJECT_IS_TOP_LEVEL})
option(ZIVRA_REQUIRE_DOTNET "Fail where there is no dotnet, instead of leaving the .NET assembly out" OFF)
option(ZIVRA_BUILD_BENCH "Build the benchmarks" OFF)
option(ZIVRA_BUILD_FUZZ "Build the fuzzers (Clang)" OFF)
option(ZIVRA_WERROR "Treat warnings as errors" OFF)
set(ZIVRA_SANITIZE "" CACHE STRING "Sanitizers to build with: address,undefined or thread")

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Type of build" FORCE)
endif()

# In builds without optimisation GCC's precompiled headers bring __OPTIMIZE__ with them from fmt, which has a
# pragma there; intrinsics behind it don't compile.
if(CMAKE_BUILD_TYPE STREQUAL "Debug")
  set(CMAKE_DISABLE_PRECOMPILE_HEADERS ON)
endif()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

add_library(zivra_flags INTERFACE)
target_compile_options(zivra_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow)
if(ZIVRA_WERROR)
  target_compile_options(zivra_flags INTERFACE -Werror)
endif()
if(ZIVRA_SANITIZE)
  add_compile_options(-fsanitize=${ZIVRA_SANITIZE} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${ZIVRA_SANITIZE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # With the sanitizers' code in between GCC takes the standard library's own variables for uninitialized.
    target_compile_options(zivra_flags INTERFACE -Wno-maybe-uninitialized)
    add_compile_options(-fno-var-tracking)  # takes minutes there, for nothing that a stack trace shows
  endif()
  if(ZIVRA_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize-recover=undefined)
  endif()
endif()

# Headers of other libraries ask for default visibility here and there; this has the last word.
function(zivra_show_own_names_only target)
  if(BUILD_SHARED_LIBS AND UNIX AND NOT APPLE)
    set(map ${PROJECT_SOURCE_DIR}/cmake/exports.map)
    target_link_options(${target} PRIVATE -Wl,--version-script=${map})
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${map})
  endif()
endfunction()
