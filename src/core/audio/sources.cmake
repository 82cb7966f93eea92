# Audio capture: the backend interfaces, the PCM frame path and the two capture sources.
# (The permission tables list themselves in permissions.cmake.)
target_sources(vesnara_core PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/AudioBackendError.h
    ${CMAKE_CURRENT_LIST_DIR}/AudioBufferView.h
    ${CMAKE_CURRENT_LIST_DIR}/AudioInputDevice.h
    ${CMAKE_CURRENT_LIST_DIR}/AudioSourceOptions.h
    ${CMAKE_CURRENT_LIST_DIR}/AudioStreamDescription.h
    ${CMAKE_CURRENT_LIST_DIR}/CaptureWorker.cpp
    ${CMAKE_CURRENT_LIST_DIR}/CaptureWorker.h
    ${CMAKE_CURRENT_LIST_DIR}/EchoGuard.cpp
    ${CMAKE_CURRENT_LIST_DIR}/EchoGuard.h
    ${CMAKE_CURRENT_LIST_DIR}/EchoGuardStage.cpp
    ${CMAKE_CURRENT_LIST_DIR}/EchoGuardStage.h
    ${CMAKE_CURRENT_LIST_DIR}/InputDeviceSelection.cpp
    ${CMAKE_CURRENT_LIST_DIR}/InputDeviceSelection.h
    ${CMAKE_CURRENT_LIST_DIR}/MicrophoneCapture.cpp
    ${CMAKE_CURRENT_LIST_DIR}/MicrophoneCapture.h
    ${CMAKE_CURRENT_LIST_DIR}/MicrophoneCaptureError.cpp
    ${CMAKE_CURRENT_LIST_DIR}/MicrophoneCaptureError.h
    ${CMAKE_CURRENT_LIST_DIR}/PcmChunker.cpp
    ${CMAKE_CURRENT_LIST_DIR}/PcmChunker.h
    ${CMAKE_CURRENT_LIST_DIR}/PcmConversion.cpp
    ${CMAKE_CURRENT_LIST_DIR}/PcmConversion.h
    ${CMAKE_CURRENT_LIST_DIR}/PcmFrameFormat.h
    ${CMAKE_CURRENT_LIST_DIR}/PcmLevel.cpp
    ${CMAKE_CURRENT_LIST_DIR}/PcmLevel.h
    ${CMAKE_CURRENT_LIST_DIR}/PcmMixer.cpp
    ${CMAKE_CURRENT_LIST_DIR}/PcmMixer.h
    ${CMAKE_CURRENT_LIST_DIR}/SystemAudioCapture.cpp
    ${CMAKE_CURRENT_LIST_DIR}/SystemAudioCapture.h
    ${CMAKE_CURRENT_LIST_DIR}/SystemAudioCaptureError.cpp
    ${CMAKE_CURRENT_LIST_DIR}/SystemAudioCaptureError.h
    ${CMAKE_CURRENT_LIST_DIR}/SystemAudioSources.cpp
    ${CMAKE_CURRENT_LIST_DIR}/SystemAudioSources.h
)
# The capture classes run the backends' stream calls on a worker thread of their own
# (CaptureWorker).
find_package(Qt6 REQUIRED COMPONENTS Concurrent)
target_link_libraries(vesnara_core PRIVATE Qt6::Concurrent)
# The echo guard's canceller.
find_package(PkgConfig REQUIRED)
pkg_check_modules(SPEEXDSP REQUIRED IMPORTED_TARGET speexdsp)
target_link_libraries(vesnara_core PRIVATE PkgConfig::SPEEXDSP)
