#pragma once

#include <string_view>

namespace quillon {

// A format of bank files, as far as plans and reports ask.
struct ImportFormat {
    std::string_view name;  // "QIF"; lives as long as the program
    // Its lines have identifiers: what the account holds is told by them, and importing a
    // file again adds the rest.
    bool hasIdentifiers = false;
    bool hasCategories = false;
};

}  // namespace quillon
