#include "import/ofx/OfxValues.h"

#include <charconv>
#include <cstddef>

#include "finance/records/FinanceCodes.h"
#include "foundation/TextHash.h"
#include "foundation/Unicode.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

struct Entity {
    std::string_view name;
    char32_t code;
};
constexpr Entity kEntities[] = {{"amp", '&'},  {"lt", '<'},    {"gt", '>'},
                                {"quot", '"'}, {"apos", '\''}, {"nbsp", ' '}};

// What stands between "#" and ";"; 0: no character.
char32_t NumberedCharacter(std::string_view text) {
    const bool isHex = !text.empty() && (text.front() == 'x' || text.front() == 'X');
    if (isHex) text.remove_prefix(1);
    const char* const end = text.data() + text.size();
    uint32_t number = 0;
    const std::from_chars_result result =
        std::from_chars(text.data(), end, number, isHex ? 16 : 10);
    if (text.empty() || result.ec != std::errc() || result.ptr != end) return 0;
    if (number >= 0x110000 || (number >= 0xD800 && number < 0xE000)) return 0;
    // Control characters, line breaks among them, count as blanks.
    return number < 0x20 ? U' ' : static_cast<char32_t>(number);
}

// The character that `name` between "&" and ";" stands for; 0: none.
char32_t CharacterOf(std::string_view name) {
    if (name.starts_with('#')) return NumberedCharacter(name.substr(1));
    for (const Entity& entity : kEntities) {
        if (name == entity.name) return entity.code;
    }
    return 0;
}

}  // namespace

std::string DecodeEntities(std::string_view text) {
    constexpr size_t kLongest = 10;
    std::string decoded;
    decoded.reserve(text.size());
    for (size_t at = 0; at < text.size();) {
        const size_t ampersand = text.find('&', at);
        decoded += text.substr(at, ampersand - at);
        if (ampersand == std::string_view::npos) break;
        const std::string_view window = text.substr(ampersand + 1, kLongest);
        const size_t end = window.find(';');
        const char32_t code =
            end == std::string_view::npos ? U'\0' : CharacterOf(window.substr(0, end));
        if (code != 0) {
            AppendUtf8(decoded, code);
            at = ampersand + end + 2;
        } else {
            decoded += '&';
            at = ampersand + 1;
        }
    }
    return decoded;
}

int64_t MadeStatementId(std::string_view text) {
    const int64_t hash = TextHash(text);
    return hash == 0 ? 1 : hash;
}

int64_t StatementId(std::string_view text) {
    if (text.empty()) return 0;
    int64_t number = 0;
    if (IsDigits(text) && ScanLong(text, number)) return number;
    return MadeStatementId(text);
}

std::string_view ElectronicOfType(std::string_view type) {
    if (Contains(type, "PAYMENT")) return kElectronicEft;
    // Marks for coming in; the sign of the amount decides.
    if (Contains(type, "CREDIT") || Contains(type, "DIRECTDEP")) return {};
    if (Contains(type, "DEBIT")) return kElectronicEft;
    return Contains(type, "XFER") ? kElectronicTransfer : std::string_view();
}

}  // namespace quillon
