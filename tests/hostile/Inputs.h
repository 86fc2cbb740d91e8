#pragma once

#include <filesystem>
#include <string>
#include <vector>

// What the programs of this folder start from, and how often they change it.
namespace hostile {

// The first argument of the program.
extern int g_mutations;

// The files of a folder whose names end so; none when there is no such folder.
std::vector<std::string> filesOf(const std::filesystem::path& folder,
                                 const std::string& extension = "");

// Those of tests/data and of the foreign vectors, in DER.
std::vector<std::string> certificates();

}  // namespace hostile
