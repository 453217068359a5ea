#include "wording/ImportValueWords.h"

#include <cstddef>
#include <cstdio>

#include "foundation/CurrencyFormat.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

std::string ShownAmount(double amount, char how) {
    if (how != 'd' && how != 'r') return FormatCurrency(amount);
    char text[400];
    std::snprintf(text, sizeof text, how == 'd' ? "%.12g" : "%.2f", amount);
    return text;
}

std::string Shown(const ImportValue& value, char how) {
    if (const auto* const number = std::get_if<int64_t>(&value)) return std::to_string(*number);
    if (const auto* const amount = std::get_if<double>(&value)) return ShownAmount(*amount, how);
    const std::string& text = std::get<std::string>(value);
    return how == 'q' ? InQuotes(text) : text;
}

}  // namespace

std::string InQuotes(std::string_view text) {
    constexpr size_t kShown = 60;  // bytes
    const std::string_view shown = CutUtf8(text, kShown);
    return "\"" + std::string(shown) + (shown.size() < text.size() ? "...\"" : "\"");
}

std::string Filled(std::string_view sentence, std::span<const ImportValue> values) {
    std::string filled;
    for (size_t at = 0; at < sentence.size();) {
        const size_t open = sentence.find('{', at);
        filled += sentence.substr(at, open - at);
        if (open == std::string_view::npos) break;
        const size_t close = sentence.find('}', open);
        const auto index = static_cast<size_t>(sentence[open + 1] - '0');
        if (index < values.size()) filled += Shown(values[index], sentence[close - 1]);
        at = close + 1;
    }
    return filled;
}

std::string ListOfSources(const std::vector<ImportSource>& sources, std::optional<bool> chosen) {
    constexpr size_t kShown = 20;
    std::string list;
    size_t count = 0;
    for (const ImportSource& source : sources) {
        if (chosen && (source.chosen != *chosen || source.lines == 0)) continue;
        if (++count > kShown) continue;
        list += (count == 1 ? "'" : ", '") + source.name.substr(0, 60) + "' (" +
                std::to_string(source.lines) + (source.lines == 1 ? " line)" : " lines)");
    }
    if (count > kShown) list += " and " + std::to_string(count - kShown) + " more";
    return list;
}

}  // namespace quillon
