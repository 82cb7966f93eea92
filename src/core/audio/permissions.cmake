# The microphone and system audio permissions: decision tables, request flows, the probe interface.
target_sources(vesnara_core PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/MicrophonePermissionSnapshot.cpp
    ${CMAKE_CURRENT_LIST_DIR}/MicrophonePermissionSnapshot.h
    ${CMAKE_CURRENT_LIST_DIR}/SystemAudioPermissionSnapshot.cpp
    ${CMAKE_CURRENT_LIST_DIR}/SystemAudioPermissionSnapshot.h
)
