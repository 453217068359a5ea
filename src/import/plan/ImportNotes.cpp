#include "import/plan/ImportNotes.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

#include "import/text/TextScan.h"

namespace quillon {

namespace {

std::vector<ImportValue> ValuesOf(std::span<const ImportArgument> arguments) {
    std::vector<ImportValue> values;
    values.reserve(arguments.size());
    for (const ImportArgument& argument : arguments) values.push_back(argument.Value());
    return values;
}

bool AreSame(std::span<const ImportArgument> arguments, const std::vector<ImportValue>& values) {
    return std::equal(arguments.begin(), arguments.end(), values.begin(), values.end(),
                      [](const ImportArgument& a, const ImportValue& b) { return a.Is(b); });
}

ImportNote Summed(ImportNoteCode code, std::vector<ImportValue> values, int64_t count, int64_t line,
                  int64_t lastLine) {
    return {code, line, std::move(values), count, count > 1 ? lastLine : 0};
}

void Widen(int64_t line, int64_t& first, int64_t& last) {
    first = first == 0 ? line : std::min(first, line);
    last = std::max(last, line);
}

}  // namespace

// --- values

// A line of a damaged file can be as long as the file.
std::string_view ImportArgument::Text() const {
    constexpr size_t kLongest = 320;  // bytes; the name of an account takes all of them
    return CutUtf8(m_text, kLongest);
}

ImportValue ImportArgument::Value() const {
    switch (m_kind) {
        case Kind::Number:
            return m_number;
        case Kind::Amount:
            return m_amount;
        case Kind::Text:
            break;
    }
    return std::string(Text());
}

bool ImportArgument::Is(const ImportValue& value) const {
    if (const auto* const number = std::get_if<int64_t>(&value)) {
        return m_kind == Kind::Number && *number == m_number;
    }
    if (const auto* const amount = std::get_if<double>(&value)) {
        return m_kind == Kind::Amount && *amount == m_amount;
    }
    return m_kind == Kind::Text && std::get<std::string>(value) == Text();
}

void ImportArgument::AddTo(std::string& cause) const {
    cause += '\n';
    if (m_kind == Kind::Amount) {
        if (!std::isfinite(m_amount)) return;
        if (std::signbit(m_amount)) cause += '-';
        double rest = m_tells ? std::fabs(m_amount) : 0.0;
        while (rest >= 1000) {
            cause += ',';
            rest /= 1000;
        }
    } else if (m_kind == Kind::Text && m_tells) {
        const std::string_view text = Text();
        std::copy_if(text.begin(), text.end(), std::back_inserter(cause),
                     [](char c) { return !IsDigit(c); });
    }
}

// --- notes

size_t CImportNotes::CauseOf(ImportNoteCode code, std::span<const ImportArgument> values) {
    m_key.assign(1, static_cast<char>(code));
    for (const ImportArgument& value : values) value.AddTo(m_key);
    auto found = m_byKey.find(m_key);
    if (found == m_byKey.end() && m_causes.size() >= kMostCauses) {
        // Currencies without end: counted by their code.
        m_key.resize(1);
        found = m_byKey.find(m_key);
    }
    if (found != m_byKey.end()) return found->second;
    m_causes.emplace_back();
    m_causes.back().code = code;
    m_causes.back().values = ValuesOf(values);
    m_byKey.emplace(m_key, m_causes.size() - 1);
    return m_causes.size() - 1;
}

void CImportNotes::Add(ImportNoteCode code, int64_t line, std::span<const ImportArgument> values) {
    if (m_every) {
        m_listed.push_back({{code, line, ValuesOf(values)}, 0});
        return;
    }
    const size_t index = CauseOf(code, values);
    Cause& cause = m_causes[index];
    ++cause.count;
    Widen(line, cause.line, cause.lastLine);
    cause.sameValues = cause.sameValues && AreSame(values, cause.values);
    int64_t& listed = m_listedOfSubject[static_cast<size_t>(SubjectOf(code))];
    // The eleventh of equal ones makes them one note.
    const bool full = listed >= kListedPerSubject;
    if (!full && !(cause.sameValues && cause.count > kListedPerCause)) {
        m_listed.push_back({{code, line, ValuesOf(values)}, index});
        ++listed;
        return;
    }
    if (cause.restCount == 0) cause.restValues = ValuesOf(values);
    ++cause.restCount;
    Widen(line, cause.restLine, cause.restLastLine);
}

bool CImportNotes::IsOneNote(const Cause& cause, int64_t records) const {
    const bool isHalf = cause.count >= records - cause.count;
    if (cause.count > kListedPerCause) return cause.sameValues || isHalf;
    return cause.sameValues && isHalf && cause.count > kListedOfAll;
}

std::vector<ImportNote> CImportNotes::Take(int64_t records) {
    std::vector<ImportNote> notes;
    std::vector<bool> isOne;
    for (Cause& cause : m_causes) {
        isOne.push_back(IsOneNote(cause, records));
        if (isOne.back()) {
            notes.push_back(Summed(cause.code, std::move(cause.values), cause.count, cause.line,
                                   cause.lastLine));
        } else if (cause.restCount > 0) {
            notes.push_back(Summed(cause.code, std::move(cause.restValues), cause.restCount,
                                   cause.restLine, cause.restLastLine));
        }
    }
    for (Listed& listed : m_listed) {
        if (m_every || !isOne[listed.cause]) notes.push_back(std::move(listed.note));
    }
    std::stable_sort(notes.begin(), notes.end(),
                     [](const ImportNote& a, const ImportNote& b) { return a.line < b.line; });
    *this = CImportNotes(m_every);
    return notes;
}

}  // namespace quillon
