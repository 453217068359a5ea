#include "import/text/TextScan.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

namespace quillon {

namespace {

bool IsBlank(char character) {
    return character == ' ' || character == '\t' || character == '\r' || character == '\n';
}

// In front of a number: blanks and a plus sign, which from_chars does not take.
const char* NumberStart(std::string_view text) {
    size_t at = 0;
    while (at < text.size() && IsBlank(text[at])) ++at;
    if (at + 1 < text.size() && text[at] == '+' && text[at + 1] != '-') ++at;
    return text.data() + at;
}

}  // namespace

bool HasDigit(std::string_view text) {
    return std::any_of(text.begin(), text.end(), IsDigit);
}

bool HasLetter(std::string_view text) {
    return std::any_of(text.begin(), text.end(), IsLetter);
}

size_t DigitsAtStart(std::string_view text) {
    size_t count = 0;
    while (count < text.size() && IsDigit(text[count])) ++count;
    return count;
}

bool IsDigits(std::string_view text) {
    return !text.empty() && DigitsAtStart(text) == text.size();
}

std::string_view CutUtf8(std::string_view text, size_t most) {
    if (text.size() <= most) return text;
    size_t size = most;
    while (size > 0 && (static_cast<unsigned char>(text[size]) & 0xC0) == 0x80) --size;
    return text.substr(0, size);
}

bool ScanLong(std::string_view text, int64_t& value, std::string_view* rest) {
    const char* const end = text.data() + text.size();
    int64_t number = 0;
    const std::from_chars_result result = std::from_chars(NumberStart(text), end, number);
    if (result.ec != std::errc()) return false;
    value = number;
    if (rest) *rest = {result.ptr, static_cast<size_t>(end - result.ptr)};
    return true;
}

bool ScanDouble(std::string_view text, double& value, std::string_view* rest) {
    const char* const end = text.data() + text.size();
    double number = 0.0;
    const std::from_chars_result result = std::from_chars(NumberStart(text), end, number);
    if (result.ec != std::errc() || !std::isfinite(number)) return false;
    value = number;
    if (rest) *rest = {result.ptr, static_cast<size_t>(end - result.ptr)};
    return true;
}

std::optional<int32_t> ReadCheckNumber(std::string_view text) {
    int64_t number = 0;
    if (!IsDigits(text) || !ScanLong(text, number) || number > INT32_MAX) return {};
    return static_cast<int32_t>(number);
}

std::string_view CTextArena::Keep(std::string_view text) {
    if (text.empty()) return {};
    if (text.size() > m_left) {
        const size_t size = std::max(kBlock, text.size());
        m_blocks.push_back(std::make_unique<char[]>(size));
        m_free = m_blocks.back().get();
        m_left = size;
    }
    char* const kept = m_free;
    std::memcpy(kept, text.data(), text.size());
    m_free += text.size();
    m_left -= text.size();
    return {kept, text.size()};
}

void CTextArena::Reset() {
    if (m_blocks.empty()) return;
    m_blocks.resize(1);
    m_free = m_blocks.front().get();
    m_left = kBlock;  // the least that a block holds
}

}  // namespace quillon
