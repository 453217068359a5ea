#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quillon {

// The accounts of a bank file, and which one is meant. Values; std::bad_alloc passes through.

// What a part of a bank file is the account statement of, as far as the file says.
enum class SourceKind { Unknown, Bank, Card, Investment };

// One account of a bank file: the statements, or the registers, that name it.
struct ImportSource {
    std::string name;    // number or name as the file gives it; each but once in a file
    std::string number;  // of the account; empty where the file gives names or nothing
    SourceKind kind = SourceKind::Unknown;
    std::string currency;  // three letters; empty where the file does not say
    int64_t lines = 0;     // records or statement lines
    bool chosen = false;   // these go into the account
};

enum class SourceChoice {
    Made,
    Unclear,  // several have lines, and none or more than one is the account's
    Unknown,  // there is none of the name that was asked for
};

// Marks the chosen ones. `asked`: a name, or the end of a number, four characters at least;
// empty when nobody asked, and then, of those that have lines, the only one is chosen, or the
// one that the account carries:
//
//   1. its name is the account's name, ignoring case;
//   2. its number stands in the account's name or description: whole, at the end of a longer
//      one (an IBAN), or by its last four digits or more; blanks and dashes may group it, and
//      of a masked number in the file the digits that it shows count;
//   3. its name stands there as a whole word, ignoring case.
//
// The first of these that holds for any decides, and only where it holds for one alone.
SourceChoice ChooseSource(std::vector<ImportSource>& sources, std::string_view asked,
                          std::string_view accountName, std::string_view accountDescription);

}  // namespace quillon
