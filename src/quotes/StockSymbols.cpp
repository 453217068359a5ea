#include "quotes/StockSymbols.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <utility>

#include "foundation/AsciiText.h"

namespace quillon {

namespace {

bool IsExchange(std::string_view name) {
    return !name.empty() && name.size() <= 32 &&
           std::all_of(name.begin(), name.end(), [](char character) {
               return (character >= 'A' && character <= 'Z') ||
                      (character >= '0' && character <= '9');
           });
}

// Empty when the text does not list it.
std::string ExchangeIn(std::string_view text, const std::string& wanted) {
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        const size_t tab = line.find('\t');
        if (tab == std::string_view::npos || line.starts_with('#')) continue;
        const std::string_view symbol = TrimBlanks(line.substr(0, tab));
        if (symbol.size() != wanted.size() || UpperAscii(symbol) != wanted) continue;
        std::string exchange = UpperAscii(TrimBlanks(line.substr(tab + 1)));
        if (IsExchange(exchange)) return exchange;
    }
    return {};
}

}  // namespace

CStockSymbols::CStockSymbols(std::vector<std::string> folders, CFileSystem& files)
    : m_folders(std::move(folders)), m_files(files) {}

std::vector<std::string> CStockSymbols::ExchangesOf(std::string_view symbol) const {
    const std::string wanted = UpperAscii(symbol);
    for (const std::string& folder : m_folders) {
        const std::string path = WithTrailingSeparator(folder) + kFileName;
        const std::unique_ptr<CFile> file = m_files.Open(path, OpenMode::Read);
        if (!file) continue;
        const int64_t size = file->Size();
        if (size <= 0 || size > kLargestFile) continue;
        std::vector<uint8_t> bytes(static_cast<size_t>(size));
        const int64_t read = file->ReadAt(0, bytes);
        if (read <= 0) continue;
        const std::string exchange = ExchangeIn(
            {reinterpret_cast<const char*>(bytes.data()), static_cast<size_t>(read)}, wanted);
        if (!exchange.empty()) return {exchange};
    }
    return {"NASDAQ", "NYSE"};
}

}  // namespace quillon
