#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "foundation/FileSystem.h"

namespace quillon {

// Exchanges of symbols, from files "StockSymbols.txt".
//
//   Layout     UTF-8, one symbol a line: the symbol, a tab, the exchange ("NYSE" or
//              "NASDAQ"). Blanks around both, empty lines and lines that start with "#"
//              do not matter; nor does the case of ASCII letters. A symbol that comes
//              twice is what its first line says.
//   Errors     A file that is missing, cannot be read or is larger than
//              kLargestFile lists nothing.
//   Ownership  Borrows the file system, which must outlive it. Files are read at every
//              look-up and not kept.
class CStockSymbols {
public:
    static constexpr int64_t kLargestFile = 16'000'000;
    static constexpr char kFileName[] = "StockSymbols.txt";

    // `folders` in the order of their weight: the settings' and then the program's.
    explicit CStockSymbols(std::vector<std::string> folders,
                           CFileSystem& files = PlatformFileSystem());

    // Where to ask for the symbol, in this order: its exchange as the first file that
    // lists it has it, in upper case; else NASDAQ and then NYSE.
    std::vector<std::string> ExchangesOf(std::string_view symbol) const;

private:
    std::vector<std::string> m_folders;
    CFileSystem& m_files;
};

}  // namespace quillon
