# Unit tests of the printer application's child runner, PDF renderer and ink converter.
include(${PROJECT_SOURCE_DIR}/tools/zelpgen-printer/modules.cmake)
find_program(PRINTER_GS gs)
if(NOT PRINTER_GS)
  message(STATUS "zelpgen: Ghostscript not found, printer module tests not built")
  return()
endif()
add_executable(printer_module_tests ${CMAKE_CURRENT_LIST_DIR}/child_test.cpp
                                    ${CMAKE_CURRENT_LIST_DIR}/colour_test.cpp
                                    ${CMAKE_CURRENT_LIST_DIR}/pdf_test.cpp)
target_link_libraries(printer_module_tests PRIVATE zelpgen_printer_modules zelpgen_test_support
                                                   GTest::gtest_main)
target_compile_definitions(printer_module_tests PRIVATE ZELPGEN_TEST_GS="${PRINTER_GS}")
gtest_discover_tests(printer_module_tests DISCOVERY_TIMEOUT 120
                     PROPERTIES LABELS printer ENVIRONMENT "TZ=UTC")
