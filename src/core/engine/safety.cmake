# Recording safety: the auto-stop of a forgotten recording.
target_sources(vesnara_core PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/parts/AutoStop.cpp
    ${CMAKE_CURRENT_LIST_DIR}/parts/AutoStop.h
)
target_sources(vesnara_core PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/TranscriptionViewModelSafety.cpp
)
