# kv_add_test(NAME name LABELS a [b…] SOURCES … [LIBS …])
# One ctest entry per test program; Windows programs run through the wine
# emulator and share the fixture that starts and stops the wine server.
function(kv_add_test)
  cmake_parse_arguments(T "" "NAME" "LABELS;SOURCES;LIBS" ${ARGN})
  add_executable(${T_NAME} ${T_SOURCES})
  target_link_libraries(${T_NAME} PRIVATE ${T_LIBS} GTest::gtest_main)
  target_include_directories(${T_NAME} PRIVATE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/tests)
  add_test(NAME ${T_NAME} COMMAND ${T_NAME})
  set_tests_properties(${T_NAME} PROPERTIES LABELS "${T_LABELS}" TIMEOUT 600)
  if(WIN32)
    set_tests_properties(${T_NAME} PROPERTIES FIXTURES_REQUIRED wine)
  endif()
endfunction()
