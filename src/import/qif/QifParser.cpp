#include "import/qif/QifParser.h"

#include "finance/records/FinanceCodes.h"
#include "foundation/Unicode.h"
#include "import/text/AmountText.h"
#include "import/text/DateText.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

constexpr std::string_view kTypeHeader = "!Type:";

bool IsCountedType(std::string_view type) {
    return Contains(type, "Bank") || Contains(type, "Cash") || Contains(type, "CCard") ||
           Contains(type, "Invst");
}

// The plain reader's text of a line: views where the bytes are UTF-8 already.
class CLineTexts {
public:
    CLineTexts(const CReadOnlyTextFileManager& text, CTextArena& arena)
        : m_text(text), m_arena(arena) {
        m_wide = text.Kind() == TextKind::Marked && text.Encoding() != TextEncoding::Utf8;
        const std::span<const uint8_t> bytes = text.Bytes();
        m_foreign =
            !m_wide && !IsValidUtf8({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    }
    std::string_view At(int64_t index) {
        if (m_wide) return m_arena.Keep(m_text.LineText(index));
        const std::string_view bytes = m_text.LineBytes(index);
        if (m_foreign && !IsAscii(bytes)) return m_arena.Keep(Windows1252ToUtf8(bytes));
        return bytes;
    }

private:
    const CReadOnlyTextFileManager& m_text;
    CTextArena& m_arena;
    bool m_wide = false;
    bool m_foreign = false;
};

void ReadPlainNumber(std::string_view value, ImportRecord& record) {
    if (Contains(value, "dep")) return;
    if (Contains(value, "tx")) {
        record.electronic = kElectronicTransfer;
    } else if (Contains(value, "eft")) {
        record.electronic = kElectronicEft;
    } else if (Contains(value, "atm")) {
        record.electronic = kElectronicAtm;
    } else {
        int64_t number = 0;
        const bool fits = ScanLong(value, number) && number >= INT32_MIN && number <= INT32_MAX;
        record.check = fits ? static_cast<int32_t>(number) : 0;
    }
}

}  // namespace

void ReadPlainQif(const CReadOnlyTextFileManager& text, int64_t today, DateOrder order,
                  const RecordSink& sink) {
    CTextArena arena;  // of the record being read
    CLineTexts lines(text, arena);
    const auto fresh = [today](int64_t line) {
        ImportRecord record;
        record.date = today;
        record.dateRead = record.amountRead = false;
        record.line = line;
        return record;
    };
    bool counts = false;
    ImportRecord record = fresh(1);
    for (int64_t i = 0; i < text.LineCount(); ++i) {
        const std::string_view line = lines.At(i);
        const size_t header = line.find(kTypeHeader);
        if (header != std::string_view::npos) {
            counts = IsCountedType(line.substr(header + kTypeHeader.size()));
            continue;
        }
        if (!counts || line.empty()) continue;
        const std::string_view value = TrimBlanks(line.substr(1));
        switch (line.front()) {
            case '^':
                if (!sink(record)) return;
                arena.Reset();
                record = fresh(i + 2);
                break;
            case 'D': {
                const std::optional<int64_t> date = ReadPlainDate(value, order);
                record.date = date.value_or(today);
                record.dateRead = date.has_value();
                break;
            }
            case 'P':
                record.payee = value;
                break;
            case 'L':
                record.category = value;
                break;
            case 'T':
            case 'U':
                record.amount = ReadPlainAmount(value, &record.amountRead);
                break;
            case 'N':
                ReadPlainNumber(value, record);
                break;
            default:
                break;
        }
    }
}

}  // namespace quillon
