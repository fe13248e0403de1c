# Tests of the .NET assembly, its package and its examples.
# Builds with a sanitizer have none of them, and count none as skipped: dotnet can't load their library. The C
# functions below the assembly are tested there all the same, in C++.
if(NOT ZIVRA_BUILD_BINDING OR ZIVRA_SANITIZE OR NOT ZIVRA_BUILD_SIM)
  return()
endif()
if(NOT ZIVRA_DOTNET)
  add_test(NAME dotnet.not_on_the_path COMMAND ${CMAKE_COMMAND} -E echo "dotnet SKIPPED: there is no dotnet on the path")
  set_tests_properties(dotnet.not_on_the_path PROPERTIES LABELS plain SKIP_REGULAR_EXPRESSION "dotnet SKIPPED")
  return()
endif()

set(dotnet ${PROJECT_BINARY_DIR}/binding/dotnet)
set(sources ${PROJECT_SOURCE_DIR}/binding/dotnet)
add_test(NAME dotnet.build COMMAND ${dotnet}/run_dotnet build ${sources}/Zivra.Clr.Tests -v quiet)
add_test(NAME dotnet.pack COMMAND ${dotnet}/run_dotnet pack ${sources}/Zivra.Clr -v quiet)
add_test(NAME dotnet.examples
  COMMAND ${sources}/check_examples ${dotnet}/run_dotnet ${PROJECT_SOURCE_DIR}/examples/dotnet ${dotnet}/out)
add_test(NAME dotnet.package
  COMMAND sh -c "exec \"$0\" \"$1\"/*.nupkg" ${CMAKE_CURRENT_SOURCE_DIR}/programs/dotnet_package ${dotnet}/out/package)
zivra_next_address(address)
add_test(NAME dotnet.readme COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/programs/dotnet_readme ${dotnet}/run_dotnet
  ${PROJECT_BINARY_DIR} ${PROJECT_SOURCE_DIR}/README.md $<TARGET_FILE:zivra_sim_program> ${address})
add_test(NAME dotnet.build_endings COMMAND ${dotnet}/run_dotnet build ${sources}/Zivra.Clr.Endings -v quiet)
set_tests_properties(dotnet.build PROPERTIES FIXTURES_SETUP dotnet)
set_tests_properties(dotnet.build_endings PROPERTIES FIXTURES_SETUP dotnet_endings DEPENDS dotnet.build)
set_tests_properties(dotnet.pack PROPERTIES FIXTURES_SETUP dotnet_package DEPENDS dotnet.build_endings)
set_tests_properties(dotnet.package dotnet.readme PROPERTIES FIXTURES_REQUIRED dotnet_package)
set_tests_properties(dotnet.examples PROPERTIES FIXTURES_SETUP dotnet_examples FIXTURES_REQUIRED dotnet_package)
add_test(NAME dotnet.xunit COMMAND ${dotnet}/run_dotnet test ${sources}/Zivra.Clr.Tests --no-build -v quiet
  WORKING_DIRECTORY ${dotnet})
set_tests_properties(dotnet.xunit PROPERTIES FIXTURES_REQUIRED dotnet)
# Two of these at a time write the same files.
set_tests_properties(dotnet.build dotnet.build_endings dotnet.pack dotnet.examples PROPERTIES RESOURCE_LOCK dotnet)
set_tests_properties(dotnet.build dotnet.build_endings dotnet.pack dotnet.package dotnet.readme dotnet.examples dotnet.xunit
  PROPERTIES LABELS plain TIMEOUT 300)

set(bin ${dotnet}/out/examples/bin)
zivra_program_test(dotnet_first_move MODEL tandi SIMULATOR --speed-factor 10
  CHECK --last "^the last axis is at -?[0-9.]+ rad$" RUN ${bin}/first_move/first_move @address@)
zivra_program_test(dotnet_first_move_nobody_there CHECK --code 1 --error "^first_move: .*@address@"
  RUN ${bin}/first_move/first_move @address@)
zivra_program_test(dotnet_events MODEL tandi SIMULATOR --collide-after 2
  CHECK --last "^heard [1-9][0-9]* events in 4 s$" RUN ${bin}/events/events @address@ 4)
zivra_program_test(dotnet_events_no_seconds CHECK --code 2 --error "SECONDS is a number"
  RUN ${bin}/events/events @address@ soon)
zivra_program_test(dotnet_state_stream MODEL tandi CHECK --last "^1000 samples taken$"
  RUN ${bin}/state_stream/state_stream @address@ @address@)
set_tests_properties(programs.dotnet_first_move programs.dotnet_first_move_nobody_there programs.dotnet_events
  programs.dotnet_events_no_seconds programs.dotnet_state_stream PROPERTIES FIXTURES_REQUIRED dotnet_examples)

# How a process ends while native threads are in its delegates. 134: ended by the unhandled exception.
# The first two take the whole second that delegates get to come back. That of the second one doesn't either: .NET keeps
# who calls Environment.Exit there and tells of the end on a thread of its own, on which nobody can know whose call it was.
set(endings ${dotnet}/out/bin/Zivra.Clr.Endings/Debug/net10.0/Zivra.Clr.Endings)
zivra_program_test(dotnet_ends_in_a_delegate MODEL tandi CHECK --within 15 --last "^inside$"
  RUN ${endings} leave @address@)
zivra_program_test(dotnet_ends_by_a_delegate MODEL tandi CHECK --within 15 --code 7 RUN ${endings} exit @address@)
zivra_program_test(dotnet_ends_by_a_throwing_delegate MODEL tandi
  CHECK --within 30 --code 134 --error "Unhandled exception. System.FormatException: thrown by a delegate"
  RUN ${endings} throw @address@)
zivra_program_test(dotnet_ends_undisposed MODEL tandi CHECK --within 15 --last "^still connected: 0$"
  RUN ${endings} forget @address@)
zivra_program_test(dotnet_ends_among_events MODEL tandi SIMULATOR --speed-factor 10
  CHECK --within 15 RUN ${endings} events @address@)
set_tests_properties(programs.dotnet_ends_in_a_delegate programs.dotnet_ends_by_a_delegate
  programs.dotnet_ends_by_a_throwing_delegate programs.dotnet_ends_undisposed programs.dotnet_ends_among_events
  PROPERTIES FIXTURES_REQUIRED dotnet_endings)

# The benchmark of the binding runs, and measures something everywhere.
if(ZIVRA_BUILD_BENCH)
  add_test(NAME dotnet.build_bench COMMAND ${dotnet}/run_dotnet build ${sources}/Zivra.Clr.Bench -c Release -v quiet)
  set_tests_properties(dotnet.build_bench PROPERTIES LABELS plain TIMEOUT 300 RESOURCE_LOCK dotnet
    FIXTURES_SETUP dotnet_bench DEPENDS dotnet.pack)
  zivra_program_test(dotnet_bench CHECK --last "^each of 100 events at once +C# +[0-9]+ +[0-9.]+ +[0-9.]+ +[0-9.]+"
    RUN $<TARGET_FILE:zivra_bench> --binding ${ZIVRA_DOTNET_BENCH} --quick)
  set_tests_properties(programs.dotnet_bench PROPERTIES FIXTURES_REQUIRED dotnet_bench)
endif()
