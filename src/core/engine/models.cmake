# The engine's list models for the screens and the transcript they are built on.
target_sources(vesnara_core PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/models/InputDeviceListModel.cpp
    ${CMAKE_CURRENT_LIST_DIR}/models/InputDeviceListModel.h
    ${CMAKE_CURRENT_LIST_DIR}/models/KeyedListModel.h
    ${CMAKE_CURRENT_LIST_DIR}/models/ListModelBase.cpp
    ${CMAKE_CURRENT_LIST_DIR}/models/ListModelBase.h
    ${CMAKE_CURRENT_LIST_DIR}/models/SavedSessionListModel.cpp
    ${CMAKE_CURRENT_LIST_DIR}/models/SavedSessionListModel.h
    ${CMAKE_CURRENT_LIST_DIR}/models/SystemApplicationListModel.cpp
    ${CMAKE_CURRENT_LIST_DIR}/models/SystemApplicationListModel.h
    ${CMAKE_CURRENT_LIST_DIR}/models/SystemDisplayListModel.cpp
    ${CMAKE_CURRENT_LIST_DIR}/models/SystemDisplayListModel.h
    ${CMAKE_CURRENT_LIST_DIR}/models/TranscriptPinListModel.cpp
    ${CMAKE_CURRENT_LIST_DIR}/models/TranscriptPinListModel.h
    ${CMAKE_CURRENT_LIST_DIR}/models/TranscriptSegmentListModel.cpp
    ${CMAKE_CURRENT_LIST_DIR}/models/TranscriptSegmentListModel.h
    ${CMAKE_CURRENT_LIST_DIR}/transcript/TranscriptLines.cpp
    ${CMAKE_CURRENT_LIST_DIR}/transcript/TranscriptLines.h
)
