# TranscriptionViewModel: one class, one file per concern.
target_sources(vesnara_core PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/TranscriptionViewModel.cpp
    ${CMAKE_CURRENT_LIST_DIR}/TranscriptionViewModel.h
    ${CMAKE_CURRENT_LIST_DIR}/TranscriptionViewModelFrames.cpp
    ${CMAKE_CURRENT_LIST_DIR}/TranscriptionViewModelMeta.cpp
    ${CMAKE_CURRENT_LIST_DIR}/TranscriptionViewModelPause.cpp
    ${CMAKE_CURRENT_LIST_DIR}/TranscriptionViewModelRecording.cpp
    ${CMAKE_CURRENT_LIST_DIR}/TranscriptionViewModelStop.cpp
    ${CMAKE_CURRENT_LIST_DIR}/TranscriptionViewModelSupervision.cpp
    ${CMAKE_CURRENT_LIST_DIR}/TranscriptionViewModelTranscript.cpp
)
