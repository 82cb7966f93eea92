# The platform boundary: what the core asks of the desktop and the sound server. Linux
# implements these in src/platform/linux; tests script fakes.
target_sources(vesnara_core PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/AudioInputBackend.h
    ${CMAKE_CURRENT_LIST_DIR}/Clipboard.h
    ${CMAKE_CURRENT_LIST_DIR}/DesktopServices.h
    ${CMAKE_CURRENT_LIST_DIR}/Dialogs.h
    ${CMAKE_CURRENT_LIST_DIR}/FilePanels.h
    ${CMAKE_CURRENT_LIST_DIR}/PermissionProbe.h
    ${CMAKE_CURRENT_LIST_DIR}/SystemAudioBackend.h
)
