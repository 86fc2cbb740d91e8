#pragma once

#include <string>

#include "Password.h"
#include "certstore/SystemCerts.h"
#include "support/log/LogText.h"
#include "support/x509/CertificateHolder.h"

// The first error of a log as one line: what went wrong; and the last: what that meant for the
// whole.
std::string firstError(const LogText& log);
std::string lastError(const LogText& log);

// Reads a PKCS#12 file with the password that `source` gives, and adds its certificates and keys to
// the store. Returns the leaf, the caller's: the first certificate with a private key, else the
// first. Null, with a reason in `error`, when the file cannot be read or holds no certificate.
CertificateHolder* addPfxFile(SystemCerts& store, const std::string& path,
                              const PasswordSource& source, std::string& error);
