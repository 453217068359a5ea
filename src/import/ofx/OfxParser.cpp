#include "import/ofx/OfxParser.h"

#include <array>
#include <string>
#include <string_view>
#include <unordered_map>

#include "foundation/TextHash.h"
#include "import/ofx/OfxValues.h"
#include "import/text/AmountText.h"
#include "import/text/DateText.h"
#include "import/text/LineTexts.h"

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

int64_t ReadPlainId(std::string_view value) {
    if (value.empty()) return 0;
    if (!IsDigits(value)) return TextHash(value);
    int64_t number = 0;
    return ScanLong(value, number) ? number : 0;
}

int32_t ReadPlainCheck(std::string_view value) {
    int64_t number = 0;
    const bool fits = ScanLong(value, number) && number > 0 && number <= INT32_MAX;
    return fits ? static_cast<int32_t>(number) : 0;
}

class CPlainOfx {
public:
    CPlainOfx(const CReadOnlyTextFileManager& text, int64_t today, const RecordSink& sink)
        : m_text(text), m_today(today), m_sink(sink) {}

    void Run() {
        CLineTexts lines(m_text, m_arena);
        Begin(1);
        for (int64_t i = 0; i < m_text.LineCount(); ++i) {
            std::string_view value;
            const TagKind kind = KindOf(TrimBlanks(lines.At(i)), value);
            if (kind != TagKind::End) {
                TakeValue(kind, value);
                continue;
            }
            MakeId();
            if (!m_sink(m_record)) return;
            Begin(i + 2);
        }
    }

private:
    void Begin(int64_t line) {
        m_arena.Reset();
        m_record = PlainRecord(line, m_today);
        m_date = m_amount = m_name = {};
    }

    void TakeValue(TagKind kind, std::string_view value) {
        switch (kind) {
            case TagKind::Date:
                m_date = value;
                if (value.size() >= 8) TakeDate(value);
                break;
            case TagKind::Name:
                m_name = value;
                m_record.payee = Decoded(value);
                break;
            case TagKind::Amount:
                m_amount = value;
                m_record.amount = ReadPlainAmount(value, &m_record.amountRead);
                break;
            case TagKind::Type:
                TakeType(value);
                break;
            case TagKind::Id:
                m_record.idText = value;
                m_record.fitId = ReadPlainId(value);
                break;
            case TagKind::Check:
                m_record.check = ReadPlainCheck(value);
                break;
            case TagKind::Memo:
                m_record.memo = Decoded(value);
                break;
            default:
                break;
        }
    }

    void TakeDate(std::string_view value) {
        const std::optional<int64_t> date = ReadStatementDate(value);
        m_record.date = date.value_or(m_today);
        m_record.dateRead = date.has_value();
    }

    // One that says nothing leaves what an earlier one said.
    void TakeType(std::string_view value) {
        const std::string_view kind = ElectronicOfType(value);
        if (!kind.empty()) m_record.electronic = kind;
    }

    // Of a line without an identifier; different for identical lines of the file.
    void MakeId() {
        if (m_record.fitId != 0 || m_name.empty()) return;
        std::string joined(m_date);
        joined.append(m_amount).append(m_name);
        const int64_t occurrence = ++m_made[TextHash(joined)];
        if (occurrence > 1) joined.append("#").append(std::to_string(occurrence));
        m_record.fitId = MadeStatementId(joined);
    }

    std::string_view Decoded(std::string_view text) {
        return Contains(text, "&") ? m_arena.Keep(DecodeEntities(text)) : text;
    }

    const CReadOnlyTextFileManager& m_text;
    int64_t m_today;
    const RecordSink& m_sink;
    CTextArena m_arena;  // of the record being read
    ImportRecord m_record;
    // As written.
    std::string_view m_date;
    std::string_view m_amount;
    std::string_view m_name;
    std::unordered_map<int64_t, int64_t> m_made;  // lines without an identifier, by hash
};

}  // namespace

void ReadPlainOfx(const CReadOnlyTextFileManager& text, int64_t today, const RecordSink& sink) {
    CPlainOfx(text, today, sink).Run();
}

}  // namespace quillon
