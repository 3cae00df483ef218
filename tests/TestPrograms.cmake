# How test programs are made: here, in examples/, and in the folder of a device's platform.
find_package(GTest REQUIRED)

set(avr_test_support ${CMAKE_CURRENT_LIST_DIR}/support)
add_library(test_support OBJECT ${avr_test_support}/main.cpp
  ${avr_test_support}/ScriptedStream.cpp ${avr_test_support}/RecordingCallback.cpp)
target_include_directories(test_support PUBLIC ${avr_test_support})
target_link_libraries(test_support PUBLIC avr_platform Boost::thread Boost::chrono GTest::gtest Threads::Threads)
if(CMAKE_CROSSCOMPILING_EMULATOR)
  target_compile_definitions(test_support PUBLIC AVR_EMULATED)
endif()

# avr_test(name SOURCES ... USES ...): one program, one entry of ctest.
function(avr_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;USES" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE test_support ${ARG_USES})
  add_test(NAME ${name} COMMAND ${name})
endfunction()

# avr_script_test(name WORD...): a test that starts programs of the build itself. Built for another
# machine, they need the words of AVR_RUN before them; ctest does that only for targets.
function(avr_script_test name)
  add_test(NAME ${name} COMMAND ${ARGN})
  list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " run)
  set_tests_properties(${name} PROPERTIES ENVIRONMENT "AVR_RUN=${run}")
endfunction()

# avr_platform_contract(name SOURCES ... USES ...): the suite for any platform, as one program. The
# sources implement contract/PlatformUnderTest.h, the targets are the platform.
set(avr_contract_suite ${CMAKE_CURRENT_LIST_DIR}/contract)
function(avr_platform_contract name)
  set(suite stream buffer sound services codecs)
  list(TRANSFORM suite REPLACE "(.+)" "${avr_contract_suite}/test_platform_\\1.cpp")
  avr_test(${name} ${ARGN} SOURCES ${suite})
  target_include_directories(${name} PRIVATE ${avr_contract_suite})
endfunction()
