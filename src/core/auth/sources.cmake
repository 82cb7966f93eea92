# Accounts: the auth service's client, its records and its error.
target_sources(vesnara_core PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/AuthAdminUser.cpp
    ${CMAKE_CURRENT_LIST_DIR}/AuthAdminUser.h
    ${CMAKE_CURRENT_LIST_DIR}/AuthErrorResponse.cpp
    ${CMAKE_CURRENT_LIST_DIR}/AuthErrorResponse.h
    ${CMAKE_CURRENT_LIST_DIR}/AuthLoginResponse.cpp
    ${CMAKE_CURRENT_LIST_DIR}/AuthLoginResponse.h
    ${CMAKE_CURRENT_LIST_DIR}/AuthManager.cpp
    ${CMAKE_CURRENT_LIST_DIR}/AuthManager.h
    ${CMAKE_CURRENT_LIST_DIR}/AuthManagerAdmin.cpp
    ${CMAKE_CURRENT_LIST_DIR}/AuthManagerCommands.cpp
    ${CMAKE_CURRENT_LIST_DIR}/AuthManagerPasswords.cpp
    ${CMAKE_CURRENT_LIST_DIR}/AuthManagerSession.cpp
    ${CMAKE_CURRENT_LIST_DIR}/AuthMessageResponse.cpp
    ${CMAKE_CURRENT_LIST_DIR}/AuthMessageResponse.h
    ${CMAKE_CURRENT_LIST_DIR}/AuthRequestError.cpp
    ${CMAKE_CURRENT_LIST_DIR}/AuthRequestError.h
    ${CMAKE_CURRENT_LIST_DIR}/AuthUser.cpp
    ${CMAKE_CURRENT_LIST_DIR}/AuthUser.h
    ${CMAKE_CURRENT_LIST_DIR}/AuthVerifyResponse.cpp
    ${CMAKE_CURRENT_LIST_DIR}/AuthVerifyResponse.h
    ${CMAKE_CURRENT_LIST_DIR}/StoredAuthMeta.cpp
    ${CMAKE_CURRENT_LIST_DIR}/StoredAuthMeta.h
)
