# The recording engine's pure rules: duplicate keys, transcript assembly, status texts, live
# hints, the empty-result diagnosis, pause rules and the mixer queues.
target_sources(vesnara_core PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/AudioTestVerdict.cpp
    ${CMAKE_CURRENT_LIST_DIR}/AudioTestVerdict.h
    ${CMAKE_CURRENT_LIST_DIR}/EmptyResultDiagnosis.cpp
    ${CMAKE_CURRENT_LIST_DIR}/EmptyResultDiagnosis.h
    ${CMAKE_CURRENT_LIST_DIR}/MixerQueues.cpp
    ${CMAKE_CURRENT_LIST_DIR}/MixerQueues.h
    ${CMAKE_CURRENT_LIST_DIR}/PauseRules.cpp
    ${CMAKE_CURRENT_LIST_DIR}/PauseRules.h
    ${CMAKE_CURRENT_LIST_DIR}/RecordingStatusText.cpp
    ${CMAKE_CURRENT_LIST_DIR}/RecordingStatusText.h
    ${CMAKE_CURRENT_LIST_DIR}/RemoteSessionStop.cpp
    ${CMAKE_CURRENT_LIST_DIR}/RemoteSessionStop.h
    ${CMAKE_CURRENT_LIST_DIR}/SegmentKeys.cpp
    ${CMAKE_CURRENT_LIST_DIR}/SegmentKeys.h
    ${CMAKE_CURRENT_LIST_DIR}/SessionMetaRules.cpp
    ${CMAKE_CURRENT_LIST_DIR}/SessionMetaRules.h
    ${CMAKE_CURRENT_LIST_DIR}/TranscriptMerge.cpp
    ${CMAKE_CURRENT_LIST_DIR}/TranscriptMerge.h
    ${CMAKE_CURRENT_LIST_DIR}/TranscriptText.cpp
    ${CMAKE_CURRENT_LIST_DIR}/TranscriptText.h
    ${CMAKE_CURRENT_LIST_DIR}/UserErrorDescription.cpp
    ${CMAKE_CURRENT_LIST_DIR}/UserErrorDescription.h
)
