# The child runner, the PDF renderer and the ink converter: plain C++ without PAPPL, shared by
# zelpgen-printer and its unit tests; included by both, defined once.
include_guard(GLOBAL)
if(PkgConfig_FOUND)
  pkg_check_modules(PRINTER_LCMS IMPORTED_TARGET lcms2)
endif()

set(printer_modules_dir ${CMAKE_CURRENT_LIST_DIR})
add_library(zelpgen_printer_modules STATIC ${printer_modules_dir}/child.cpp
                                           ${printer_modules_dir}/colour.cpp
                                           ${printer_modules_dir}/pdf.cpp)
target_include_directories(zelpgen_printer_modules PUBLIC ${printer_modules_dir})
if(PRINTER_LCMS_FOUND)
  target_link_libraries(zelpgen_printer_modules PUBLIC PkgConfig::PRINTER_LCMS)
  target_compile_definitions(zelpgen_printer_modules PUBLIC ZELPGEN_HAVE_LCMS)
else()
  message(STATUS "zelpgen: LittleCMS not found, zelpgen-printer takes no ICC profiles")
endif()
# A page is hundreds of megapixels: the colour loop must be vectorised in every optimised build.
set_source_files_properties(${printer_modules_dir}/colour.cpp
                            PROPERTIES COMPILE_OPTIONS "$<$<NOT:$<CONFIG:Debug>>:-O3>")
