#pragma once

#include <string>

#include "support/buffers/DataBuffer.h"

// Where a password comes from. Never from the command line, which every user of the machine can
// read.
struct PasswordSource {
    std::string file;      // its first line
    std::string variable;  // of the environment
};

// The options that name a source, for a usage text.
constexpr const char* kPasswordUsage =
    "  --password-file FILE  the password is the first line of this file\n"
    "  --password-env NAME   the password is in this variable of the environment\n"
    "                        (without either, it is asked for if there is a terminal)\n";

// Where the value of one of these options goes. Null for every other argument.
std::string* passwordOption(const std::string& argument, PasswordSource& source);

// Reads the password from the source named; when none is, from the terminal, without echo. `what`
// is what the prompt asks the password for. `password` is marked secure and becomes the password
// with a NUL behind it; it stays empty, for a null password, when no source is named and standard
// input is no terminal. False, with a reason in `error`, when it cannot be read or both sources are
// named.
bool readPassword(const PasswordSource& source, const std::string& what, DataBuffer& password,
                  std::string& error);
