#pragma once

#include <QString>

namespace vesnara::refbackend {

/// Salted PBKDF2-HMAC-SHA256 password hashes in the text form
/// "pbkdf2-sha256$<iterations>$<salt base64>$<hash base64>".
namespace PasswordHash {

/// A new hash of `password` with a fresh random salt.
QString make(const QString& password, int iterations = 120000);
/// Whether `password` matches `stored`; false for anything that is not a hash of ours.
bool verify(const QString& password, const QString& stored);

} // namespace PasswordHash

} // namespace vesnara::refbackend
