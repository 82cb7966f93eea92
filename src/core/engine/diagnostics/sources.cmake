# The diagnostics package: the payload and its JSON, the file names and the lookup, the zip, and
# the commands that make, find and send it.
find_package(PkgConfig REQUIRED)
pkg_check_modules(LIBZIP REQUIRED IMPORTED_TARGET libzip)
target_sources(vesnara_core PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/DiagnosticFiles.cpp
    ${CMAKE_CURRENT_LIST_DIR}/DiagnosticFiles.h
    ${CMAKE_CURRENT_LIST_DIR}/DiagnosticPayload.cpp
    ${CMAKE_CURRENT_LIST_DIR}/DiagnosticPayload.h
    ${CMAKE_CURRENT_LIST_DIR}/DiagnosticsArchive.cpp
    ${CMAKE_CURRENT_LIST_DIR}/DiagnosticsArchive.h
    ${CMAKE_CURRENT_LIST_DIR}/DiagnosticsCommands.cpp
    ${CMAKE_CURRENT_LIST_DIR}/DiagnosticsCommands.h
)
target_link_libraries(vesnara_core PRIVATE PkgConfig::LIBZIP)
