# Crash recovery: the server-side import, the local checkpoint and their rules.
target_sources(vesnara_core PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/rules/CrashRecoveryRules.cpp
    ${CMAKE_CURRENT_LIST_DIR}/rules/CrashRecoveryRules.h
    ${CMAKE_CURRENT_LIST_DIR}/parts/CrashRecovery.cpp
    ${CMAKE_CURRENT_LIST_DIR}/parts/CrashRecovery.h
    ${CMAKE_CURRENT_LIST_DIR}/parts/RecordingCheckpoint.cpp
    ${CMAKE_CURRENT_LIST_DIR}/parts/RecordingCheckpoint.h
    ${CMAKE_CURRENT_LIST_DIR}/../storage/CheckpointStore.cpp
    ${CMAKE_CURRENT_LIST_DIR}/../storage/CheckpointStore.h
)
