#include "import/qif/QifParser.h"

#include "finance/records/FinanceCodes.h"
#include "import/text/AmountText.h"
#include "import/text/DateText.h"
#include "import/text/LineTexts.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

constexpr std::string_view kTypeHeader = "!Type:";

bool IsCountedType(std::string_view type) {
    return Contains(type, "Bank") || Contains(type, "Cash") || Contains(type, "CCard") ||
           Contains(type, "Invst");
}

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
    bool counts = false;
    ImportRecord record = PlainRecord(1, today);
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
                record = PlainRecord(i + 2, today);
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
