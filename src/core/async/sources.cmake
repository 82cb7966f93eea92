# Asynchronous steps: cancellation and the cancellable sleep that the engine's tasks share.
find_package(QCoro6 REQUIRED COMPONENTS Core)

target_sources(vesnara_core PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/CancellationToken.cpp
    ${CMAKE_CURRENT_LIST_DIR}/CancellationToken.h
)
target_link_libraries(vesnara_core PUBLIC QCoro6::Core)
# QCoro's headers need coroutines switched on; GCC wants the flag in every user of them.
target_compile_options(vesnara_core PUBLIC $<$<CXX_COMPILER_ID:GNU>:-fcoroutines>)
