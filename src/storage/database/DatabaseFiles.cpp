#include "storage/database/DatabaseFiles.h"

#include <algorithm>
#include <charconv>

#include "foundation/FileSystem.h"

namespace quillon {
namespace {

constexpr std::string_view kSchemaStart = "DatabaseSchema";
constexpr std::string_view kTableStart = "Table_";
constexpr std::string_view kExtension = ".dat";
constexpr std::string_view kJournalStart = "Journal.";
constexpr const char* kSetAsideStart = "Journal.damaged.";
constexpr const char* kFreeListSuffix = "_del";
constexpr const char* kIndexSuffix = "_index_";
constexpr const char* kCopyEnding = "_tmp";

bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

// Takes "DatabaseSchema" or "Table_N" from the front of `name`.
bool TakeBase(std::string_view& name) {
    if (name.starts_with(kSchemaStart)) {
        name.remove_prefix(kSchemaStart.size());
        return true;
    }
    if (!name.starts_with(kTableStart)) return false;
    name.remove_prefix(kTableStart.size());
    const size_t digits = std::min(name.find_first_not_of("0123456789"), name.size());
    name.remove_prefix(digits);
    return digits > 0;
}

}  // namespace

std::string BlockFiles::Dictionary(const std::string& base) const {
    return WithSuffix(base, dictionarySuffix);
}

std::string BlockFiles::Data(const std::string& base) const {
    return WithSuffix(base, dataSuffix);
}

std::string TableFileName(int32_t number) {
    return std::string(kTableStart).append(std::to_string(number)).append(kExtension);
}

std::string FreeListPath(const std::string& dataPath) {
    return WithSuffix(dataPath, kFreeListSuffix);
}

std::string CopyPath(const std::string& dataPath) {
    return dataPath + kCopyEnding;
}

std::string SetAsideJournalName(int number) {
    return kSetAsideStart + std::to_string(number);
}

std::string IndexPath(const std::string& base, int64_t number) {
    return WithSuffix(base, kIndexSuffix + std::to_string(number));
}

bool IsIndexName(std::string_view name) {
    return name.find(kIndexSuffix) != std::string_view::npos;
}

bool IsIndexNameOf(const std::string& base, std::string_view name) {
    constexpr size_t kMostDigits = 19;
    const std::string pattern = FileNameOf(WithSuffix(base, kIndexSuffix));
    const size_t dot = pattern.rfind('.');
    const std::string_view start = std::string_view(pattern).substr(0, dot);
    const std::string_view end = std::string_view(pattern).substr(dot);
    if (!name.starts_with(start) || !name.ends_with(end)) return false;
    if (name.size() <= start.size() + end.size()) return false;
    const auto digits = name.substr(start.size(), name.size() - start.size() - end.size());
    return digits.size() <= kMostDigits && std::all_of(digits.begin(), digits.end(), IsDigit);
}

int64_t IndexNumberOf(const std::string& path) {
    const std::string name = FileNameOf(path);
    const size_t mark = name.rfind('_');
    int64_t number = 0;
    if (mark != std::string::npos) {
        std::from_chars(name.data() + mark + 1, name.data() + name.size(), number);
    }
    return number;
}

bool IsDatabaseFileName(std::string_view name) {
    if (name == kHistoryName) return true;
    if (name.size() > kLongestFileName || !name.ends_with(kExtension)) return false;
    name.remove_suffix(kExtension.size());
    if (!TakeBase(name)) return false;
    if (name.empty()) return true;
    return name.front() == '_' && std::all_of(name.begin(), name.end(), [](char character) {
               return character == '_' || IsDigit(character) ||
                      (character >= 'a' && character <= 'z');
           });
}

bool BelongsToDatabaseFolder(std::string_view name) {
    for (const std::string_view ending : {kNewCopyEnding, kCopyEnding}) {
        if (name.ends_with(ending)) name.remove_suffix(ending.size());
    }
    return IsDatabaseFileName(name) || name == kDatabaseLockName || name == kRestoreMarkName ||
           name == kChecksumsName || name.starts_with(kJournalStart);
}

}  // namespace quillon
