#include "presenters/entry/DateTyping.h"

#include <cstdlib>
#include <vector>

#include "foundation/CalendarDate.h"

namespace quillon {

namespace {

// The nearest to today of what is offered.
class CNearest {
public:
    explicit CNearest(int64_t today) : m_today(today) {}
    void Offer(int year, int month, int day) {
        const int64_t date = FileTimeFromDate(year, month, day);
        if (date < 0) return;
        const int64_t apart = std::llabs(DaysBetween(m_today, date));
        const bool isNearer = m_date < 0 || apart < m_apart || (apart == m_apart && date < m_date);
        if (!isNearer) return;
        m_date = date;
        m_apart = apart;
    }
    bool Take(int64_t& date) const {
        if (m_date < 0) return false;
        date = m_date;
        return true;
    }

private:
    int64_t m_today;
    int64_t m_date = -1;
    int64_t m_apart = 0;
};

struct Part {
    int number = 0;
    size_t digits = 0;
};

// "17.5." as 17 and 5, with the one separator that stands between them. False: anything else.
bool Split(std::string_view text, std::vector<Part>& parts, char& separator) {
    constexpr size_t kMostParts = 3;
    separator = '\0';
    Part part;
    for (const char character : text) {
        if (character >= '0' && character <= '9') {
            part.number = part.number * 10 + (character - '0');
            if (++part.digits > 4) return false;
            continue;
        }
        const bool known = character == '/' || character == '-' || character == '.';
        if (!known || part.digits == 0 || (separator != '\0' && separator != character)) {
            return false;
        }
        separator = character;
        parts.push_back(part);
        part = {};
    }
    if (part.digits > 0) parts.push_back(part);
    const bool ended = part.digits > 0 || separator == '.';  // "17.5." is whole, "5/" is not
    return ended && !parts.empty() && parts.size() <= kMostParts;
}

void OfferYears(CNearest& nearest, const CivilDate& now, const Part& year, int month, int day) {
    if (year.digits == 4) {
        nearest.Offer(year.number, month, day);
    } else if (year.digits <= 2) {
        const int century = now.year / 100 * 100;
        for (const int start : {century - 100, century, century + 100}) {
            nearest.Offer(start + year.number, month, day);
        }
    }
}

// The day of this month, or of one around it that has such a day.
void OfferMonths(CNearest& nearest, const CivilDate& now, int day) {
    for (int step = -2; step <= 2; ++step) {
        const int months = now.year * 12 + now.month - 1 + step;
        nearest.Offer(months / 12, months % 12 + 1, day);
    }
}

}  // namespace

bool ApplyDateKey(char key, int64_t today, int64_t& date) {
    const CivilDate now = DateFromFileTime(date);
    int64_t moved = -1;
    switch (key) {
        case '+':
            moved = AddDays(date, 1);
            break;
        case '-':
            moved = AddDays(date, -1);
            break;
        case ']':
            moved = AddMonths(date, 1, now.day);
            break;
        case '[':
            moved = AddMonths(date, -1, now.day);
            break;
        case 'T':
        case 't':
            moved = today;
            break;
        case 'M':
        case 'm':
            moved = FileTimeFromDate(now.year, now.month, 1);
            break;
        case 'H':
        case 'h':
            moved = FileTimeFromDate(now.year, now.month, DaysInMonth(now.year, now.month));
            break;
        case 'Y':
        case 'y':
            moved = FileTimeFromDate(now.year, 1, 1);
            break;
        case 'R':
        case 'r':
            moved = FileTimeFromDate(now.year, 12, 31);
            break;
        default:
            break;
    }
    if (moved < 0) return false;
    date = moved;
    return true;
}

bool ReadTypedDate(std::string_view text, int64_t today, int64_t& date) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
    std::vector<Part> parts;
    char separator = '\0';
    if (!Split(text, parts, separator)) return false;
    const CivilDate now = DateFromFileTime(today);
    CNearest nearest(today);
    const bool yearFirst = parts.size() == 3 && parts[0].digits == 4;
    if (yearFirst) {
        OfferYears(nearest, now, parts[0], parts[1].number, parts[2].number);
        return nearest.Take(date);
    }
    if (parts[0].digits > 2 || (parts.size() > 1 && parts[1].digits > 2)) return false;
    if (parts.size() == 1) {
        OfferMonths(nearest, now, parts[0].number);
        return nearest.Take(date);
    }
    const bool dayFirst = separator == '.';
    const int month = dayFirst ? parts[1].number : parts[0].number;
    const int day = dayFirst ? parts[0].number : parts[1].number;
    if (parts.size() == 3) {
        OfferYears(nearest, now, parts[2], month, day);
    } else {
        // A leap day may be eight years off.
        for (int year = now.year - 8; year <= now.year + 8; ++year) nearest.Offer(year, month, day);
    }
    return nearest.Take(date);
}

}  // namespace quillon
