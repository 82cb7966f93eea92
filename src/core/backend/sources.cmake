# The speech backend client: its records, errors and request rules.
find_package(Qt6 REQUIRED COMPONENTS Network WebSockets)
find_package(QCoro6 REQUIRED COMPONENTS Network)

target_sources(vesnara_core PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/APIClientError.cpp
    ${CMAKE_CURRENT_LIST_DIR}/APIClientError.h
    ${CMAKE_CURRENT_LIST_DIR}/AudioSpool.cpp
    ${CMAKE_CURRENT_LIST_DIR}/AudioSpool.h
    ${CMAKE_CURRENT_LIST_DIR}/AppUpdateManifest.cpp
    ${CMAKE_CURRENT_LIST_DIR}/AppUpdateManifest.h
    ${CMAKE_CURRENT_LIST_DIR}/HealthResponse.cpp
    ${CMAKE_CURRENT_LIST_DIR}/HealthResponse.h
    ${CMAKE_CURRENT_LIST_DIR}/HttpTransport.cpp
    ${CMAKE_CURRENT_LIST_DIR}/HttpTransport.h
    ${CMAKE_CURRENT_LIST_DIR}/ServerTranscriptResponse.cpp
    ${CMAKE_CURRENT_LIST_DIR}/ServerTranscriptResponse.h
    ${CMAKE_CURRENT_LIST_DIR}/SessionMetaResponse.cpp
    ${CMAKE_CURRENT_LIST_DIR}/SessionMetaResponse.h
    ${CMAKE_CURRENT_LIST_DIR}/STTAPIClient.cpp
    ${CMAKE_CURRENT_LIST_DIR}/STTAPIClient.h
    ${CMAKE_CURRENT_LIST_DIR}/StreamEvent.cpp
    ${CMAKE_CURRENT_LIST_DIR}/StreamEvent.h
    ${CMAKE_CURRENT_LIST_DIR}/STTRequests.cpp
    ${CMAKE_CURRENT_LIST_DIR}/STTRequests.h
    ${CMAKE_CURRENT_LIST_DIR}/STTSessionCreateRequest.cpp
    ${CMAKE_CURRENT_LIST_DIR}/STTSessionCreateRequest.h
    ${CMAKE_CURRENT_LIST_DIR}/STTSessionCreateResponse.cpp
    ${CMAKE_CURRENT_LIST_DIR}/STTSessionCreateResponse.h
    ${CMAKE_CURRENT_LIST_DIR}/SummaryGenerateRequest.cpp
    ${CMAKE_CURRENT_LIST_DIR}/SummaryGenerateRequest.h
    ${CMAKE_CURRENT_LIST_DIR}/SummaryPayload.cpp
    ${CMAKE_CURRENT_LIST_DIR}/SummaryPayload.h
    ${CMAKE_CURRENT_LIST_DIR}/WebSocketStreamClient.cpp
    ${CMAKE_CURRENT_LIST_DIR}/WebSocketStreamClient.h
)
target_link_libraries(vesnara_core PUBLIC Qt6::Network Qt6::WebSockets)
target_link_libraries(vesnara_core PUBLIC QCoro6::Network)
