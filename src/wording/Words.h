#pragma once

#include <cstdint>
#include <string>

namespace quillon {

// Where a sentence is read. It says the same in both places, and what to do in the way that
// is at hand there: a command, or something in the window.
enum class Medium { Terminal, Window };

inline const char* For(Medium medium, const char* terminal, const char* window) {
    return medium == Medium::Terminal ? terminal : window;
}

// A name, file or value within a sentence.
inline std::string Quoted(const std::string& text) {
    return "'" + text + "'";
}

// "1 transaction", "2,000 transactions".
std::string Counted(int64_t count, const std::string& one, const std::string& many);

}  // namespace quillon
