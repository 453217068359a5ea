#include "import/ofx/OfxParser.h"

#include <array>
#include <charconv>
#include <unordered_map>

#include "finance/records/FinanceCodes.h"
#include "foundation/TextHash.h"
#include "foundation/Unicode.h"
#include "import/text/AmountText.h"
#include "import/text/DateText.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

enum class TagKind { Start, End, Date, Name, Amount, Type, Id, Check, Memo, Other };

struct Tag {
    std::string_view text;
    TagKind kind;
};
// Tested in this order.
constexpr std::array<Tag, 9> kTags = {{
    {"<STMTTRN>", TagKind::Start},
    {"</STMTTRN>", TagKind::End},
    {"<DTPOSTED>", TagKind::Date},
    {"<NAME>", TagKind::Name},
    {"<TRNAMT>", TagKind::Amount},
    {"<TRNTYPE>", TagKind::Type},
    {"<FITID>", TagKind::Id},
    {"<CHECKNUM>", TagKind::Check},
    {"<MEMO>", TagKind::Memo},
}};

TagKind KindOf(std::string_view line, std::string_view& value) {
    value = {};
    if (!Contains(line, "<")) return TagKind::Other;
    for (const Tag& tag : kTags) {
        if (!Contains(line, tag.text)) continue;
        if (line.size() > tag.text.size()) value = TrimBlanks(line.substr(tag.text.size()));
        return tag.kind;
    }
    return TagKind::Other;
}

int64_t NeverZero(int64_t hash) {
    return hash == 0 ? 1 : hash;
}

// The texts of the statement line that a made identifier comes from, as written.
struct WrittenTexts {
    std::string_view date;
    std::string_view amount;
    std::string_view name;
};

std::string_view Decoded(std::string_view text, CTextArena& arena) {
    return Contains(text, "&") ? arena.Keep(DecodeEntities(text)) : text;
}

void ReadType(std::string_view value, ImportRecord& record) {
    if (Contains(value, "PAYMENT")) {
        record.electronic = kElectronicEft;
    } else if (Contains(value, "CREDIT") || Contains(value, "DIRECTDEP")) {
        // Marks for coming in; the sign of the amount decides.
    } else if (Contains(value, "DEBIT")) {
        record.electronic = kElectronicEft;
    } else if (Contains(value, "XFER")) {
        record.electronic = kElectronicTransfer;
    }
}

int64_t ReadPlainId(std::string_view value) {
    if (value.empty()) return 0;
    if (!IsDigits(value)) return TextHash(value);
    int64_t number = 0;
    return ScanLong(value, number) ? number : 0;
}

}  // namespace

int64_t StatementId(std::string_view text) {
    if (text.empty()) return 0;
    int64_t number = 0;
    if (IsDigits(text) && ScanLong(text, number)) return number;
    return NeverZero(TextHash(text));
}

void ReadPlainOfx(const CReadOnlyTextFileManager& text, int64_t today, const RecordSink& sink) {
    CTextArena arena;  // of the record being read
    const std::span<const uint8_t> bytes = text.Bytes();
    const bool wide = text.Kind() == TextKind::Marked && text.Encoding() != TextEncoding::Utf8;
    const bool foreign =
        !wide && !IsValidUtf8({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    const auto fresh = [today](int64_t line) {
        ImportRecord record;
        record.date = today;
        record.dateRead = record.amountRead = false;
        record.line = line;
        return record;
    };
    std::unordered_map<int64_t, int64_t> made;  // identical lines without an identifier
    ImportRecord record = fresh(1);
    WrittenTexts written;
    for (int64_t i = 0; i < text.LineCount(); ++i) {
        std::string_view line = text.LineBytes(i);
        if (wide) {
            line = arena.Keep(text.LineText(i));
        } else if (foreign && !IsAscii(line)) {
            line = arena.Keep(Windows1252ToUtf8(line));
        }
        std::string_view value;
        switch (KindOf(TrimBlanks(line), value)) {
            case TagKind::Date:
                written.date = value;
                if (value.size() >= 8) {
                    const std::optional<int64_t> date = ReadStatementDate(value);
                    record.date = date.value_or(today);
                    record.dateRead = date.has_value();
                }
                break;
            case TagKind::Name:
                written.name = value;
                record.payee = Decoded(value, arena);
                break;
            case TagKind::Amount:
                written.amount = value;
                record.amount = ReadPlainAmount(value, &record.amountRead);
                break;
            case TagKind::Type:
                ReadType(value, record);
                break;
            case TagKind::Id:
                record.idText = value;
                record.fitId = ReadPlainId(value);
                break;
            case TagKind::Check: {
                int64_t number = 0;
                const bool fits = ScanLong(value, number) && number > 0 && number <= INT32_MAX;
                record.check = fits ? static_cast<int32_t>(number) : 0;
                break;
            }
            case TagKind::Memo:
                record.memo = Decoded(value, arena);
                break;
            case TagKind::End: {
                if (record.fitId == 0 && !written.name.empty()) {
                    std::string joined(written.date);
                    joined.append(written.amount).append(written.name);
                    const int64_t hash = TextHash(joined);
                    const int64_t occurrence = ++made[hash];
                    if (occurrence > 1) joined.append("#").append(std::to_string(occurrence));
                    record.fitId = NeverZero(occurrence > 1 ? TextHash(joined) : hash);
                }
                if (!sink(record)) return;
                arena.Reset();
                record = fresh(i + 2);
                written = {};
                break;
            }
            case TagKind::Start:
            case TagKind::Other:
                break;
        }
    }
}

std::string DecodeEntities(std::string_view text) {
    struct Entity {
        std::string_view name;
        char32_t code;
    };
    static constexpr Entity kEntities[] = {{"amp", '&'},  {"lt", '<'},    {"gt", '>'},
                                           {"quot", '"'}, {"apos", '\''}, {"nbsp", ' '}};
    constexpr size_t kLongest = 10;
    std::string decoded;
    decoded.reserve(text.size());
    for (size_t at = 0; at < text.size();) {
        const size_t ampersand = text.find('&', at);
        decoded += text.substr(at, ampersand - at);
        if (ampersand == std::string_view::npos) break;
        at = ampersand;
        const std::string_view window = text.substr(at + 1, kLongest);
        const size_t end = window.find(';');
        char32_t code = 0;
        if (end != std::string_view::npos && end > 0) {
            std::string_view name = window.substr(0, end);
            if (name.front() == '#') {
                name.remove_prefix(1);
                const bool hex = !name.empty() && (name.front() == 'x' || name.front() == 'X');
                if (hex) name.remove_prefix(1);
                uint32_t number = 0;
                const std::from_chars_result result =
                    std::from_chars(name.data(), name.data() + name.size(), number, hex ? 16 : 10);
                const bool whole = !name.empty() && result.ec == std::errc() &&
                                   result.ptr == name.data() + name.size();
                const bool scalar = number < 0x110000 && !(number >= 0xD800 && number < 0xE000);
                // Control characters, line breaks among them, count as blanks.
                if (whole && scalar) code = number < 0x20 ? U' ' : static_cast<char32_t>(number);
            } else {
                for (const Entity& entity : kEntities) {
                    if (name == entity.name) code = entity.code;
                }
            }
        }
        if (code != 0) {
            AppendUtf8(decoded, code);
            at += end + 2;
        } else {
            decoded += '&';
            ++at;
        }
    }
    return decoded;
}

}  // namespace quillon
