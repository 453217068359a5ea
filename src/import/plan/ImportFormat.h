#pragma once

#include <string_view>

namespace quillon {

// A format of bank files, as far as plans and reports ask.
struct ImportFormat {
    std::string_view name;  // "QIF"; lives as long as the program
    // Its lines have identifiers, the file's own or made ones, which are stored with them.
    bool hasIdentifiers = false;
    bool hasCategories = false;
};

}  // namespace quillon
