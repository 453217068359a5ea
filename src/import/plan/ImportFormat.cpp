#include "import/plan/ImportFormat.h"

#include <new>

namespace quillon {

namespace {

std::string Counted(std::string_view what, int64_t count) {
    return "\n" + std::string(what) + std::to_string(count);
}

std::string Counters(const ImportResult& result) {
    return "\n" + Counted("Total transactions in file:   ", result.read) +
           Counted("Transactions imported:     ", result.imported);
}

std::string Quoted(std::string_view path) {
    return "'" + std::string(path) + "'";
}

}  // namespace

std::string FailureMessage(const ImportFormat& format, std::string_view path,
                           std::string_view reason) {
    std::string message = "An error occurred importing the " + std::string(format.name) +
                          " data file " + Quoted(path) + ".";
    if (!reason.empty()) message.append(" ").append(reason);
    return message;
}

std::string ReportMessage(const ImportFormat& format, std::string_view path,
                          const ImportResult& result) {
    if (result.cancelled) {
        return "The import of " + Quoted(path) +
               " was stopped before its end; what was entered stays." +
               (format.hasIdentifiers ? " Importing the file again adds the rest."
                                      : " Importing the file again would enter that twice.") +
               Counters(result);
    }
    std::string report = "The " + std::string(format.name) + " data file " + Quoted(path) +
                         " was imported successfully." + Counters(result);
    if (format.hasCategories) {
        report += Counted("Categories created:          ", result.categoriesCreated);
    }
    return report;
}

std::string TriedMessage(std::string_view path, const ImportResult& result) {
    return "Nothing was entered from " + Quoted(path) + ": it was only tried.\n" +
           Counted("Total transactions in file:   ", result.read) +
           Counted("Transactions to enter:     ", result.imported);
}

std::string StoreFailure(const ImportFormat& format, bool diskFull, const ImportResult& result) {
    std::string reason = diskFull ? "The disk is full" : "The database cannot be written";
    reason += ": " + std::to_string(result.imported) + " of " + std::to_string(result.read) +
              " transactions were entered and stay.";
    if (format.hasIdentifiers) {
        reason += " Importing the file again adds the rest without duplicates.";
    } else if (result.imported > 0) {
        reason += " Importing the file again would enter these twice.";
    }
    return reason;
}

void FailForMemory(ImportResult& result, const CKeelString& path) noexcept {
    result.failed = true;
    result.error.clear();
    try {
        result.error = "There is not enough memory to import the file.";
        result.error = "There is not enough memory to import " + Quoted(path.ToUtf8()) + ".";
    } catch (const std::bad_alloc&) {
    }
}

}  // namespace quillon
