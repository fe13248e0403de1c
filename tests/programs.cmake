# Tests of what gets handed out: headers, programs, examples and the installed package.

set(run ${CMAKE_CURRENT_SOURCE_DIR}/programs/run_program)
set(next_address 0)

# Each program test has a loopback address of its own, so that they run side by side.
function(zivra_next_address result)
  math(EXPR number "${next_address} + 2")
  set(next_address ${number} PARENT_SCOPE)
  math(EXPR high "${number} / 250")
  math(EXPR low "${number} % 250 + 1")
  set(${result} 127.60.${high}.${low} PARENT_SCOPE)
endfunction()

# zivra_program_test(NAME [THREADED] [MODEL m] [CHECK run_program options] RUN program arguments), where @address@
# stands for the address; without MODEL nothing listens there.
function(zivra_program_test name)
  cmake_parse_arguments(arg "THREADED" "MODEL" "SIMULATOR;CHECK;RUN" ${ARGN})
  zivra_next_address(address)
  set(next_address ${next_address} PARENT_SCOPE)
  set(options)
  if(arg_MODEL)
    list(APPEND options --controller $<TARGET_FILE:zivra_sim_program> --address ${address})
    foreach(option --model ${arg_MODEL} ${arg_SIMULATOR})
      list(APPEND options --controller-option ${option})
    endforeach()
  endif()
  list(TRANSFORM arg_RUN REPLACE "@address@" ${address})
  list(TRANSFORM arg_CHECK REPLACE "@address@" ${address})
  add_test(NAME programs.${name} COMMAND ${run} ${options} ${arg_CHECK} -- ${arg_RUN})
  set(label plain)
  if(arg_THREADED)
    set(label threaded)
  endif()
  set_tests_properties(programs.${name} PROPERTIES LABELS ${label} TIMEOUT 120)
endfunction()

# Public headers compile alone, as the oldest standard that they promise, under every warning.
if(NOT ZIVRA_SANITIZE)
  file(GLOB public_headers CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}/include
    ${PROJECT_SOURCE_DIR}/include/zivra/*.h)
  if(ZIVRA_BUILD_SIM)
    list(APPEND public_headers zivra/sim/controller.h)
  endif()
  set(header_units)
  foreach(header IN LISTS public_headers)
    string(MAKE_C_IDENTIFIER ${header} unit)
    set(unit ${CMAKE_CURRENT_BINARY_DIR}/headers/${unit}.cpp)
    file(CONFIGURE OUTPUT ${unit} CONTENT "#include <${header}>\n#include <${header}>\n")
    list(APPEND header_units ${unit})
  endforeach()
  add_library(zivra_headers_alone OBJECT ${header_units})
  set_target_properties(zivra_headers_alone PROPERTIES CXX_STANDARD 17 CXX_EXTENSIONS OFF)
  target_include_directories(zivra_headers_alone PRIVATE ${PROJECT_SOURCE_DIR}/include
    $<$<BOOL:${ZIVRA_BUILD_SIM}>:${PROJECT_SOURCE_DIR}/sim/include>)
  target_compile_options(zivra_headers_alone PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Werror)
endif()

if(ZIVRA_BUILD_SIM)
  set(simulator $<TARGET_FILE:zivra_sim_program>)
  zivra_program_test(simulator_help CHECK --last "Exit code: 0" RUN ${simulator} --help)
  zivra_program_test(simulator_bad_option CHECK --code 1 --error "--colour" RUN ${simulator} --colour)
  zivra_program_test(simulator_bad_number CHECK --code 1 --error "--port needs a number"
    RUN ${simulator} --port 70000)
  zivra_program_test(simulator_port_taken MODEL tandi CHECK --code 2 --error "another address with --address"
    RUN ${simulator} --address @address@)
endif()

if(ZIVRA_BUILD_SIM AND ZIVRA_BUILD_EXAMPLES)
  foreach(example
      first_move
      jog_and_pause
      check_path
      watch_events
      jog_keyboard
      read_everything
      survive_a_drop
      modbus_sensor
      can_round_trip
      blink_output
      registers
      calibrate_frame
      read_drive
      page_log
      define_tool
      inverse_kinematics
      record_motion
      run_project
      search_contact
      teach_and_replay)
    set(program $<TARGET_FILE:example_${example}>)
    zivra_program_test(${example}_help CHECK --last "^[A-Z].*\\.$" RUN ${program} --help)
    zivra_program_test(${example}_no_address CHECK --code 2 --error "^usage: ${example} ADDRESS" RUN ${program})
    zivra_program_test(${example}_nobody_there CHECK --code 1 --within 20 --error "^${example}: .*@address@"
      RUN ${program} @address@)
  endforeach()

  set(first_move $<TARGET_FILE:example_first_move>)
  zivra_program_test(first_move THREADED MODEL tandi SIMULATOR --speed-factor 10
    CHECK --last "^reached x 0\\.[0-9]+ .* after 8 moves, 1 refused as expected$" RUN ${first_move} @address@)
  zivra_program_test(first_move_controller_killed THREADED MODEL tandi
    CHECK --kill-at "finished at" --code 1 --within 30 --error "was not finished: .*\\(256\\)|: .*\\(256\\)"
    RUN ${first_move} @address@)
  zivra_program_test(first_move_interrupted THREADED MODEL tandi
    CHECK --interrupt-at "^square" --code 130 --within 30 --error "interrupted" RUN ${first_move} @address@)
  zivra_program_test(first_move_other_class MODEL quadrax
    CHECK --code 1 --within 20 --error "does not match" RUN ${first_move} @address@)
  zivra_program_test(first_move_power_refused MODEL tandi SIMULATOR --refuse sys.power.on=-514
    CHECK --code 1 --within 20 --error "switching the motors on: .*\\(-514\\)" RUN ${first_move} @address@)

  zivra_program_test(jog_and_pause THREADED MODEL tandi SIMULATOR --speed-factor 4
    CHECK --last "^jogged 2 times, paused and continued a line$" RUN $<TARGET_FILE:example_jog_and_pause> @address@)
  zivra_program_test(jog_and_pause_interrupted THREADED MODEL tandi
    CHECK --interrupt-at "^jog of axis 1" --code 130 --within 30 --error "interrupted"
    RUN $<TARGET_FILE:example_jog_and_pause> @address@)
  zivra_program_test(check_path MODEL tandi SIMULATOR --speed-factor 10
    CHECK --last "^4 paths checked, 1 can't be followed as expected, moved along 3 lines$"
    RUN $<TARGET_FILE:example_check_path> @address@)
  zivra_program_test(calibrate_frame MODEL tandi SIMULATOR --speed-factor 10
    CHECK --last "^the frame has the third place within 0\\.0[0-9] mm$"
    RUN $<TARGET_FILE:example_calibrate_frame> @address@)
  zivra_program_test(read_drive MODEL tandi
    CHECK --last "^3 slaves, 11 objects of slave 1 read$" RUN $<TARGET_FILE:example_read_drive> @address@)
  zivra_program_test(read_drive_of_no_slave MODEL tandi CHECK --code 1 --error "^read_drive: slave 7 gave no object"
    RUN $<TARGET_FILE:example_read_drive> @address@ --slave 7)
  zivra_program_test(page_log MODEL tandi SIMULATOR --language chinese
    CHECK --last "^[1-9][0-9]* entries on 1 pages$" RUN $<TARGET_FILE:example_page_log> @address@)
  zivra_program_test(watch_events THREADED MODEL tandi SIMULATOR --speed-factor 10
    CHECK --last "^heard 4 of moves, 0 of safety, 0 of programs, 1 of the log$"
    RUN $<TARGET_FILE:example_watch_events> @address@)


  zivra_program_test(define_tool THREADED MODEL tandi SIMULATOR --speed-factor 10
    CHECK --last "^tool and work object defined, 4 lines moved, toolset put back$"
    RUN $<TARGET_FILE:example_define_tool> @address@)
  zivra_program_test(define_tool_refused MODEL tandi SIMULATOR --speed-factor 10 --refuse project.tool=-1
    CHECK --code 1 --error "defining the tool: .*\\(-50501\\)" RUN $<TARGET_FILE:example_define_tool> @address@)
  zivra_program_test(inverse_kinematics MODEL tandi
    CHECK --last "^[0-9]+ solutions, and each leads back to the pose$"
    RUN $<TARGET_FILE:example_inverse_kinematics> @address@)
  set(run_project $<TARGET_FILE:example_run_project>)
  zivra_program_test(run_project THREADED MODEL tandi SIMULATOR --speed-factor 10
    CHECK --last "^ran square, 12 lines$" RUN ${run_project} @address@ ${PROJECT_BINARY_DIR}/examples/square.zip)
  zivra_program_test(run_project_demo MODEL tandi SIMULATOR --speed-factor 10
    CHECK --last "^ran demo, 9 lines$" RUN ${run_project} @address@)
  zivra_program_test(run_project_no_project MODEL tandi
    CHECK --code 1 --error "^run_project: import of none.zip: .*\\(-279\\)" RUN ${run_project} @address@ none.zip)
  zivra_program_test(run_project_interrupted MODEL tandi
    CHECK --interrupt-at "line 2" --code 130 --within 30 --error "interrupted" RUN ${run_project} @address@)
  set(search_contact $<TARGET_FILE:example_search_contact>)
  zivra_program_test(search_contact THREADED MODEL tandi SIMULATOR --speed-factor 10 --surface 0.3
    CHECK --last "^contact at z 0\\.(299|300|298) m, 0\\.09[0-9] m below, with ([6-9]|1[0-5]) N$"
    RUN ${search_contact} @address@)
  zivra_program_test(search_contact_in_vain MODEL tandi SIMULATOR --speed-factor 20
    CHECK --code 1 --within 40 --error "no contact within 20 s" RUN ${search_contact} @address@)
  zivra_program_test(search_contact_interrupted THREADED MODEL tandi
    CHECK --interrupt-at "^searching" --code 130 --within 40 --error "interrupted" RUN ${search_contact} @address@)

  # A pipe's keys come at once, and its end after them: the last one counts as held until the time of a release.
  # \133 is the bracket of an arrow key, which would keep CMake from taking the list apart.
  set(jog_keyboard $<TARGET_FILE:example_jog_keyboard>)
  zivra_program_test(jog_keyboard THREADED MODEL tandi
    CHECK --last "^2 jogs, axes moved by [0-9.]+ -0\\.[0-9]*[1-9][0-9]* 0\\.000 0\\.000 0\\.000 0\\.000 rad$"
    RUN sh -c "printf 'x\\033\\133C\\033\\133A\\033\\133D' | \"$0\" @address@" ${jog_keyboard})
  zivra_program_test(jog_keyboard_interrupted THREADED MODEL tandi
    CHECK --interrupt-at "^axis 1 forwards" --code 130 --within 30 --error "interrupted"
    RUN sh -c "mkfifo keys && exec 3<>keys && printf '\\033\\133C' >&3 && exec \"$0\" @address@ <&3" ${jog_keyboard})

  set(record_motion $<TARGET_FILE:example_record_motion>)
  find_program(ZIVRA_GNUPLOT gnuplot)
  if(ZIVRA_GNUPLOT)
    zivra_program_test(record_motion THREADED MODEL tandi SIMULATOR --speed-factor 2
      CHECK --last "^recorded [0-9]*[0-9][0-9][0-9] states, drawn in it's [.]svg$"
      RUN sh -c "\"$0\" @address@ --picture \"it's .svg\" && grep -q '>axis 6<' \"it's .svg\"" ${record_motion})
  endif()
  zivra_program_test(record_motion_without_gnuplot MODEL tandi SIMULATOR --speed-factor 10
    CHECK --code 1 --error "gnuplot isn't installed.*the recording is in motion.csv"
    RUN env PATH=/nowhere ${record_motion} @address@)
  zivra_program_test(record_motion_controller_killed THREADED MODEL tandi
    CHECK --kill-at "^full circle" --code 1 --within 30 --error "\\(256\\)" RUN ${record_motion} @address@)
  set(backup $<TARGET_FILE:example_make_backup>)
  zivra_program_test(make_backup_help CHECK --last "^Fetches .*\\.$" RUN ${backup} --help)
  zivra_program_test(make_backup_bad_item CHECK --code 2 --error "there is no item \"colour\""
    RUN ${backup} @address@ backup.tar colour)
  zivra_program_test(make_backup_nobody_there CHECK --code 1 --within 20 --error "^make_backup: .*@address@"
    RUN ${backup} @address@ backup.tar)
  zivra_program_test(make_backup THREADED MODEL tandi CHECK --last "^[1-9][0-9]* bytes in \"backup.tar\"$"
    RUN ${backup} @address@ backup.tar)
  zivra_program_test(make_backup_can_be_unpacked MODEL tandi CHECK --last "^robot_cfg/robot.json$"
    RUN sh -c "\"$0\" @address@ b.tar robot >&2 && tar -tf b.tar" ${backup})
  zivra_program_test(make_backup_partial MODEL tandi SIMULATOR --upgrade-fault partial
    CHECK --last "^[1-9][0-9]* bytes in \"b.tar\", but the controller left items out$"
    RUN ${backup} @address@ b.tar log system-log)
  zivra_program_test(make_backup_broken MODEL tandi SIMULATOR --upgrade-fault broken
    CHECK --code 1 --within 20 --error "\\(270\\)$" RUN ${backup} @address@ b.tar)
  set(upgrade $<TARGET_FILE:example_send_upgrade>)
  zivra_program_test(send_upgrade_help CHECK --last "^Sends .*\\.$" RUN ${upgrade} --help)
  zivra_program_test(send_upgrade_refused_at_once MODEL tandi SIMULATOR --upgrade-fault hang-up
    CHECK --code 1 --within 20 --error "^send_upgrade: .*@address@" RUN ${upgrade} @address@ p.zip)
  zivra_program_test(send_upgrade THREADED MODEL tandi CHECK --last "^the controller took the package of 13 bytes$"
    RUN sh -c "printf 'PK\\003\\004a package' > p.zip && exec \"$0\" @address@ p.zip" ${upgrade})
  zivra_program_test(send_upgrade_no_package MODEL tandi
    CHECK --code 1 --within 20 --error "\\(269\\).*the controller doesn't take it"
    RUN sh -c "echo text > p.zip && exec \"$0\" @address@ p.zip" ${upgrade})

  set(survive $<TARGET_FILE:example_survive_a_drop>)
  zivra_program_test(survive_a_restart THREADED MODEL tandi CHECK --last "the link came back and 6 joint angles"
    RUN ${survive} @address@)
  zivra_program_test(survive_a_drop THREADED MODEL tandi SIMULATOR --drop-after 60
    CHECK --last "the link came back and 6 joint angles" RUN ${survive} @address@ --wait)

  zivra_program_test(modbus_sensor MODEL tandi CHECK --last "^threshold -1234567, in registers 10617 and 65517$"
    RUN $<TARGET_FILE:example_modbus_sensor> @address@)
  zivra_program_test(can_round_trip MODEL tandi CHECK --last "^received id 0x111: de ad be ef$"
    RUN $<TARGET_FILE:example_can_round_trip> @address@)
  zivra_program_test(can_round_trip_unanswered MODEL tandi SIMULATOR --refuse modbusRTU.can.recv=-1
    CHECK --code 1 --error "waiting for an answer: .*\\(-1\\)" RUN $<TARGET_FILE:example_can_round_trip> @address@)

  foreach(pair tandi=TandiRobot tandi-five=TandiFiveRobot tandi-seven=TandiSevenRobot tandi-seven=QuillRobot
      standard=StandardRobot triax=TriaxRobot quadrax=QuadraxRobot)
    string(REPLACE "=" ";" pair ${pair})
    list(GET pair 0 model)
    list(GET pair 1 class)
    zivra_program_test(read_everything_${class} MODEL ${model} CHECK --last "^all [0-9]+ readings came$"
      RUN $<TARGET_FILE:example_read_everything> @address@ --class ${class})
  endforeach()
  zivra_program_test(read_everything_one_refused MODEL tandi SIMULATOR --refuse sys.rt.jnt_trq=-290
    CHECK --code 1 --error "^read_everything: 1 of [0-9]+ readings failed"
    RUN $<TARGET_FILE:example_read_everything> @address@)

  set(teach $<TARGET_FILE:example_teach_and_replay>)
  zivra_program_test(teach_and_replay THREADED MODEL tandi SIMULATOR --speed-factor 4 --hand-after 2
    CHECK --last "^taught, replayed at half speed and removed \"taught path\"$" RUN ${teach} @address@)
  zivra_program_test(teach_and_replay_interrupted MODEL tandi
    CHECK --interrupt-at "^guide the arm" --code 130 --within 30 --error "interrupted" RUN ${teach} @address@)
  zivra_program_test(teach_and_replay_not_stored MODEL tandi
    SIMULATOR --speed-factor 4 --hand-after 2 --refuse move.record.save=-353
    CHECK --code 1 --within 60 --error "storing the path: .*\\(-353\\)" RUN ${teach} @address@)
  zivra_program_test(teach_and_replay_load_not_set MODEL tandi SIMULATOR --refuse sys.drag=-10040
    CHECK --code 1 --within 20 --error "enabling the guiding: .*\\(-10040\\)" RUN ${teach} @address@)

  set(blink $<TARGET_FILE:example_blink_output>)
  zivra_program_test(blink_output MODEL tandi CHECK --last "^3 blinks of DO1_0 seen at DI1_0$" RUN ${blink} @address@)
  zivra_program_test(blink_output_unseen MODEL tandi
    CHECK --code 1 --within 20 --error "5 s in vain until DI0_1 is on" RUN ${blink} @address@ 0_1 0_1)
  zivra_program_test(blink_output_interrupted MODEL tandi
    CHECK --interrupt-at "^blink 1" --code 130 --within 20 --error "interrupted" RUN ${blink} @address@ 0_1 0_1)
  zivra_program_test(blink_output_of_the_system MODEL tandi
    CHECK --code 1 --within 20 --error "switching DO0_7: .*\\(-14501\\)" RUN ${blink} @address@ 0_7 0_0)
  zivra_program_test(blink_output_nowhere CHECK --code 2 --error "board and port" RUN ${blink} @address@ 0-1 0_1)
  set(registers $<TARGET_FILE:example_registers>)
  zivra_program_test(registers MODEL tandi
    CHECK --last "^int_array has 10 values, the last became 42 and is 0 again$" RUN ${registers} @address@)
  zivra_program_test(registers_unknown MODEL tandi
    CHECK --code 1 --within 20 --error "reading the register nobody: .*\\(-17001\\)" RUN ${registers} @address@ nobody)
  zivra_program_test(registers_of_another_type MODEL tandi
    CHECK --code 1 --within 20 --error "float_single is no array of int" RUN ${registers} @address@ float_single)

  if(TARGET zivra_threaded_tests)
    foreach(example
        first_move
        jog_and_pause
        watch_events
        jog_keyboard
        survive_a_drop
        define_tool
        record_motion
        make_backup
        send_upgrade
        run_project
        search_contact
      teach_and_replay)
      add_dependencies(zivra_threaded_tests example_${example})
    endforeach()
    add_dependencies(zivra_threaded_tests zivra_sim_program)
  endif()
endif()

# An application that logs with the library that this one logs with too, header-only or as packaged.
find_package(spdlog)
if(spdlog_FOUND AND ZIVRA_BUILD_SIM)
  foreach(logging spdlog_header_only spdlog)
    add_library(zivra_host_with_${logging} OBJECT logging/host_app.cpp)
    target_link_libraries(zivra_host_with_${logging} PRIVATE spdlog::${logging})
    target_include_directories(zivra_host_with_${logging} PRIVATE ${PROJECT_SOURCE_DIR}/include)
    # As most applications are built: nothing hidden.
    set_target_properties(zivra_host_with_${logging} PROPERTIES CXX_STANDARD 17 CXX_VISIBILITY_PRESET default
      VISIBILITY_INLINES_HIDDEN OFF)
    foreach(library zivra zivra_internal)
      set(program zivra_host_with_${logging}_and_${library})
      add_executable(${program} $<TARGET_OBJECTS:zivra_host_with_${logging}>)
      set_target_properties(${program} PROPERTIES LINKER_LANGUAGE CXX)
      target_link_libraries(${program} PRIVATE ${library} spdlog::${logging} Threads::Threads)
      zivra_program_test(host_with_${logging}_and_${library} MODEL tandi SIMULATOR --id r1
        CHECK --last "^host application: untouched$" RUN $<TARGET_FILE:${program}> @address@)
    endforeach()
  endforeach()
endif()

# Packages and formatting are the same in every kind of build.
if(NOT ZIVRA_SANITIZE)
  # Values of a type that an operation doesn't take are refused by the compiler, in words that tell which it takes.
  set(number 0)
  foreach(sentence "" "a register is an int, a float or a bool" "a register is an int" "a register is an int"
      "a rail parameter is an int" "a rail parameter is an int" "a parameter of an external axis is read as"
      "a parameter of a mechanical unit is read as")
    add_test(NAME programs.value_types_${number} COMMAND ${CMAKE_CXX_COMPILER} -std=c++17 -fsyntax-only
      -I${PROJECT_SOURCE_DIR}/include -DSLIP=${number} ${CMAKE_CURRENT_SOURCE_DIR}/programs/wrong_value_types.cpp)
    set_tests_properties(programs.value_types_${number} PROPERTIES LABELS plain)
    if(sentence)
      set_tests_properties(programs.value_types_${number} PROPERTIES PASS_REGULAR_EXPRESSION "${sentence}")
    endif()
    math(EXPR number "${number} + 1")
  endforeach()
  find_program(ZIVRA_NM nm)
  if(ZIVRA_NM AND BUILD_SHARED_LIBS)
    add_test(NAME programs.exports COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/programs/exports $<TARGET_FILE:zivra> zivra)
    if(ZIVRA_BUILD_SIM)
      add_test(NAME programs.exports_of_the_simulator
        COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/programs/exports $<TARGET_FILE:zivra_sim> zivra::sim)
    endif()
  endif()
  if(ZIVRA_BUILD_SIM)
    zivra_next_address(address)
    add_test(NAME programs.package COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/programs/package ${PROJECT_BINARY_DIR}
      ${PROJECT_SOURCE_DIR} ${simulator} ${address} ${CMAKE_CXX_COMPILER})
    zivra_next_address(address)
    add_test(NAME programs.static_package COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/programs/static_package
      ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR}/static ${simulator} ${address} ${CMAKE_CXX_COMPILER}
      "${CMAKE_CXX_COMPILER_LAUNCHER}")
    set_tests_properties(programs.package PROPERTIES LABELS plain TIMEOUT 300)
    set_tests_properties(programs.static_package PROPERTIES LABELS plain TIMEOUT 600 COST 1000)
  endif()
  add_test(NAME programs.formatting COMMAND ${PROJECT_SOURCE_DIR}/scripts/check --format)
  add_test(NAME programs.reference COMMAND ${PROJECT_SOURCE_DIR}/scripts/check --docs)
  set_tests_properties(programs.reference PROPERTIES LABELS plain TIMEOUT 300)
endif()
