#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

namespace quillon {

// One transaction read from a bank file, not judged yet. Texts are views that live while the
// record is handed over.
struct ImportRecord {
    int64_t line = 0;     // where it begins, from 1
    int64_t date = 0;     // midnight UTC; today when the file gives none that can be read
    double amount = 0.0;  // signed: negative goes out
    std::string_view payee;
    std::string_view category;
    std::string_view memo;
    std::string_view electronic;  // "ATM", "EFT", "Transfer" or empty
    // The file's own identifier as written, and as a number. Where the file has none for the
    // line the text is empty, and the number made or 0: such a line is also told by what it says.
    std::string_view idText;
    int64_t fitId = 0;
    // Identifier of its own when the file uses fitId for lines of different content; 0
    // unless that was found out.
    int64_t ownId = 0;
    int32_t check = 0;
    bool dateRead = true;     // false: `date` stands in for one that cannot be read
    bool amountRead = true;   // false: `amount` is 0 for want of one that can be read
    bool idShared = false;    // other lines of the file, of different content, have fitId
    bool saidBefore = false;  // the same line, said again
};

// A record as the plain rules begin it: today's, of 0.
inline ImportRecord PlainRecord(int64_t line, int64_t today) {
    ImportRecord record;
    record.line = line;
    record.date = today;
    record.dateRead = record.amountRead = false;
    return record;
}

// Takes one record after the other, and may change it; false stops the reader.
using RecordSink = std::function<bool(ImportRecord&)>;

}  // namespace quillon
