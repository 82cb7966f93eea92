# The recording engine's pure rules: duplicate keys, transcript assembly, status texts, live
# hints, the empty-result diagnosis, pause rules and the mixer queues.
target_sources(vesnara_core PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/rules/AudioQualityVerdict.cpp
    ${CMAKE_CURRENT_LIST_DIR}/rules/AudioQualityVerdict.h
    ${CMAKE_CURRENT_LIST_DIR}/rules/BackendCheckRules.cpp
    ${CMAKE_CURRENT_LIST_DIR}/rules/BackendCheckRules.h
    ${CMAKE_CURRENT_LIST_DIR}/rules/MemoRules.cpp
    ${CMAKE_CURRENT_LIST_DIR}/rules/MemoRules.h
    ${CMAKE_CURRENT_LIST_DIR}/rules/EmptyResultDiagnosis.cpp
    ${CMAKE_CURRENT_LIST_DIR}/rules/EmptyResultDiagnosis.h
    ${CMAKE_CURRENT_LIST_DIR}/rules/MixerQueues.cpp
    ${CMAKE_CURRENT_LIST_DIR}/rules/MixerQueues.h
    ${CMAKE_CURRENT_LIST_DIR}/rules/PauseRules.cpp
    ${CMAKE_CURRENT_LIST_DIR}/rules/PauseRules.h
    ${CMAKE_CURRENT_LIST_DIR}/rules/PinLinks.cpp
    ${CMAKE_CURRENT_LIST_DIR}/rules/PinLinks.h
    ${CMAKE_CURRENT_LIST_DIR}/rules/RecordingRunState.cpp
    ${CMAKE_CURRENT_LIST_DIR}/rules/RecordingRunState.h
    ${CMAKE_CURRENT_LIST_DIR}/rules/RecordingStatusText.cpp
    ${CMAKE_CURRENT_LIST_DIR}/rules/RecordingStatusText.h
    ${CMAKE_CURRENT_LIST_DIR}/rules/RemoteSessionStop.cpp
    ${CMAKE_CURRENT_LIST_DIR}/rules/RemoteSessionStop.h
    ${CMAKE_CURRENT_LIST_DIR}/rules/SegmentKeys.cpp
    ${CMAKE_CURRENT_LIST_DIR}/rules/SegmentKeys.h
    ${CMAKE_CURRENT_LIST_DIR}/rules/SessionMetaRules.cpp
    ${CMAKE_CURRENT_LIST_DIR}/rules/SessionMetaRules.h
    ${CMAKE_CURRENT_LIST_DIR}/rules/TranscriptMerge.cpp
    ${CMAKE_CURRENT_LIST_DIR}/rules/TranscriptMerge.h
    ${CMAKE_CURRENT_LIST_DIR}/rules/TranscriptText.cpp
    ${CMAKE_CURRENT_LIST_DIR}/rules/TranscriptText.h
    )

target_sources(vesnara_core PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/AssignIfChanged.h
    ${CMAKE_CURRENT_LIST_DIR}/LocalPlaces.cpp
    ${CMAKE_CURRENT_LIST_DIR}/LocalPlaces.h
    ${CMAKE_CURRENT_LIST_DIR}/RecordingRun.h
    ${CMAKE_CURRENT_LIST_DIR}/RunStatus.h
    ${CMAKE_CURRENT_LIST_DIR}/parts/AudioSources.cpp
    ${CMAKE_CURRENT_LIST_DIR}/parts/AudioSources.h
    ${CMAKE_CURRENT_LIST_DIR}/parts/BackendChecks.cpp
    ${CMAKE_CURRENT_LIST_DIR}/parts/BackendChecks.h
    ${CMAKE_CURRENT_LIST_DIR}/parts/MemoCommand.cpp
    ${CMAKE_CURRENT_LIST_DIR}/parts/MemoCommand.h
    ${CMAKE_CURRENT_LIST_DIR}/parts/PartContext.h
    ${CMAKE_CURRENT_LIST_DIR}/parts/PermissionPanel.cpp
    ${CMAKE_CURRENT_LIST_DIR}/parts/PermissionPanel.h
    ${CMAKE_CURRENT_LIST_DIR}/parts/RecordingMeters.cpp
    ${CMAKE_CURRENT_LIST_DIR}/parts/RecordingMeters.h
    ${CMAKE_CURRENT_LIST_DIR}/parts/SessionHistory.cpp
    ${CMAKE_CURRENT_LIST_DIR}/parts/RecordingSettings.cpp
    ${CMAKE_CURRENT_LIST_DIR}/parts/RecordingSettings.h
    ${CMAKE_CURRENT_LIST_DIR}/parts/SessionHistory.h
    ${CMAKE_CURRENT_LIST_DIR}/parts/SessionTranscript.cpp
    ${CMAKE_CURRENT_LIST_DIR}/parts/SessionTranscript.h
    ${CMAKE_CURRENT_LIST_DIR}/parts/SupportTools.cpp
    ${CMAKE_CURRENT_LIST_DIR}/parts/SupportTools.h
    ${CMAKE_CURRENT_LIST_DIR}/StatusLine.cpp
    ${CMAKE_CURRENT_LIST_DIR}/StatusLine.h
    ${CMAKE_CURRENT_LIST_DIR}/StoredTask.cpp
    ${CMAKE_CURRENT_LIST_DIR}/StoredTask.h
)
include(${CMAKE_CURRENT_LIST_DIR}/diagnostics/sources.cmake)

# Pins, transcript exports and the history commands: the pure rules and the command flows.
target_sources(vesnara_core PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/export/ExportFileNames.cpp
    ${CMAKE_CURRENT_LIST_DIR}/export/ExportFileNames.h
    ${CMAKE_CURRENT_LIST_DIR}/export/TextFileWriting.cpp
    ${CMAKE_CURRENT_LIST_DIR}/export/TextFileWriting.h
    ${CMAKE_CURRENT_LIST_DIR}/export/SubtitleFormats.cpp
    ${CMAKE_CURRENT_LIST_DIR}/export/SubtitleFormats.h
    ${CMAKE_CURRENT_LIST_DIR}/export/TranscriptFormats.cpp
    ${CMAKE_CURRENT_LIST_DIR}/export/TranscriptFormats.h
    ${CMAKE_CURRENT_LIST_DIR}/rules/PinHighlights.cpp
    ${CMAKE_CURRENT_LIST_DIR}/rules/PinHighlights.h
    ${CMAKE_CURRENT_LIST_DIR}/parts/PinCommands.cpp
    ${CMAKE_CURRENT_LIST_DIR}/parts/PinCommands.h
    ${CMAKE_CURRENT_LIST_DIR}/parts/TranscriptExports.cpp
    ${CMAKE_CURRENT_LIST_DIR}/parts/TranscriptExports.h
)
include("${CMAKE_CURRENT_LIST_DIR}/recovery.cmake")
include("${CMAKE_CURRENT_LIST_DIR}/safety.cmake")
# Search: folded text and the index of the saved sessions that the history's search looks through.
target_sources(vesnara_core PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/search/SearchText.cpp
    ${CMAKE_CURRENT_LIST_DIR}/search/SearchText.h
    ${CMAKE_CURRENT_LIST_DIR}/search/SessionSearchIndex.cpp
    ${CMAKE_CURRENT_LIST_DIR}/search/SessionSearchIndex.h
)
