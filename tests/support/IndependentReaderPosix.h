#pragma once

#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>

namespace quillon {

// tests/formats/read_database.py, which reads a folder's files by their description alone.

// What the program prints; empty when it fails.
inline std::string OutputOf(const std::string& command) {
    FILE* const pipe = ::popen(command.c_str(), "r");
    if (!pipe) return {};
    std::string output;
    char buffer[4096];
    for (size_t count; (count = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) {
        output.append(buffer, count);
    }
    return ::pclose(pipe) == 0 ? output : std::string();
}

inline bool HasPython() {
    return !OutputOf("python3 --version 2>/dev/null").empty();
}

// Null when it refuses the folder.
inline nlohmann::json ReadApart(const std::string& folder) {
    const std::string output = OutputOf(std::string("python3 -B '") + QUILLON_SOURCE_DIR +
                                        "/tests/formats/read_database.py' '" + folder + "'");
    return output.empty() ? nlohmann::json() : nlohmann::json::parse(output);
}

}  // namespace quillon
