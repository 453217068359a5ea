#include "storage/history/HistoryFormat.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "foundation/TextHash.h"

namespace quillon {
namespace {

constexpr std::string_view kPartMark = "HPRT";
constexpr size_t kSumAt = 94;

template <typename T>
void AppendLE(std::vector<uint8_t>& bytes, T value) {
    const size_t at = bytes.size();
    bytes.resize(at + sizeof(T));
    StoreLE<T>(bytes, at, value);
}

template <typename Length>
void AppendText(std::vector<uint8_t>& bytes, std::string_view text) {
    AppendLE(bytes, static_cast<Length>(text.size()));
    bytes.insert(bytes.end(), text.begin(), text.end());
}

// Reads fields one after the other; once they run out nothing is read any more.
class CReader {
public:
    CReader(std::span<const uint8_t> bytes, size_t at) : m_bytes(bytes), m_at(at) {}

    size_t At() const { return m_at; }
    bool IsSound() const { return m_sound; }

    bool Has(size_t size) {
        m_sound = m_sound && m_at <= m_bytes.size() && size <= m_bytes.size() - m_at;
        return m_sound;
    }
    template <typename T>
    T Number() {
        if (!Has(sizeof(T))) return 0;
        const T value = LoadLE<T>(m_bytes, m_at);
        m_at += sizeof(T);
        return value;
    }
    template <typename Length>
    std::string_view Text() {
        const size_t size = Number<Length>();
        if (!Has(size)) return {};
        const char* start = reinterpret_cast<const char*>(m_bytes.data() + m_at);
        m_at += size;
        return {start, size};
    }
    void Skip(size_t size) { m_at += Has(size) ? size : 0; }

private:
    std::span<const uint8_t> m_bytes;
    size_t m_at;
    bool m_sound = true;
};

void AppendValue(std::vector<uint8_t>& bytes, ColumnType type, const HistoryValue& value) {
    switch (type) {
        case ColumnType::Text:
            AppendText<uint32_t>(bytes, value.text);
            break;
        case ColumnType::Boolean:
            AppendLE(bytes, static_cast<uint8_t>(value.bits != 0 ? 1 : 0));
            break;
        case ColumnType::Int32:
            AppendLE(bytes, static_cast<int32_t>(value.bits));
            break;
        default:
            AppendLE(bytes, value.bits);
            break;
    }
}

HistoryValue ReadValue(CReader& reader, ColumnType type) {
    switch (type) {
        case ColumnType::Text:
            return {0, reader.Text<uint32_t>()};
        case ColumnType::Boolean:
            return {reader.Number<uint8_t>() != 0 ? 1 : 0, {}};
        case ColumnType::Int32:
            return {reader.Number<int32_t>(), {}};
        default:
            return {reader.Number<int64_t>(), {}};
    }
}

bool IsTable(const HistoryTable& table) {
    return !table.name.empty() &&
           std::all_of(table.columns.begin(), table.columns.end(),
                       [](const auto& column) { return IsColumnType(column.type); });
}

void AppendTable(std::vector<uint8_t>& bytes, const HistoryTable& table) {
    AppendLE(bytes, static_cast<uint16_t>(table.columns.size()));
    AppendLE(bytes, table.added);
    AppendLE(bytes, table.changed);
    AppendLE(bytes, table.deleted);
    AppendLE(bytes, table.firstAdded);
    AppendLE(bytes, table.lastAdded);
    AppendText<uint16_t>(bytes, table.name);
    for (const HistoryTable::Column& column : table.columns) {
        AppendLE(bytes, static_cast<uint8_t>(column.type));
        AppendText<uint16_t>(bytes, column.name);
    }
}

HistoryTable ReadTable(CReader& reader) {
    HistoryTable table;
    const size_t columns = reader.Number<uint16_t>();
    table.added = reader.Number<uint32_t>();
    table.changed = reader.Number<uint32_t>();
    table.deleted = reader.Number<uint32_t>();
    table.firstAdded = reader.Number<int64_t>();
    table.lastAdded = reader.Number<int64_t>();
    table.name = reader.Text<uint16_t>();
    for (size_t i = 0; i < columns && reader.IsSound(); ++i) {
        const auto type = static_cast<ColumnType>(reader.Number<uint8_t>());
        table.columns.push_back({std::string(reader.Text<uint16_t>()), type});
    }
    return table;
}

bool IsAction(uint8_t code) {
    return code >= static_cast<uint8_t>(RowAction::Added) &&
           code <= static_cast<uint8_t>(RowAction::Deleted);
}

}  // namespace

std::optional<size_t> HistoryTable::FindColumn(std::string_view column) const {
    const auto found =
        std::find_if(columns.begin(), columns.end(),
                     [column](const Column& candidate) { return candidate.name == column; });
    if (found == columns.end()) return {};
    return static_cast<size_t>(found - columns.begin());
}

// --- the header

std::array<uint8_t, HistoryHeader::kDiskSize> HistoryHeader::Encode() const {
    std::array<uint8_t, kDiskSize> bytes{};
    kSignature.Store(bytes);
    StoreLE<int64_t>(bytes, 54, nextNumber);
    StoreLE<int64_t>(bytes, 62, first);
    StoreLE<int64_t>(bytes, 70, done);
    StoreLE<int64_t>(bytes, 78, end);
    StoreLE<int64_t>(bytes, 86, actions);
    StoreLE<uint64_t>(bytes, kSumAt, Crc64(std::span<const uint8_t>(bytes).first(kSumAt)));
    return bytes;
}

HistoryHeader::DecodeResult HistoryHeader::Decode(std::span<const uint8_t> bytes, int64_t fileSize,
                                                  HistoryHeader& out) {
    if (kSignature.IsNewerIn(bytes)) return DecodeResult::NewerVersion;
    if (bytes.size() < kDiskSize || !kSignature.IsIn(bytes) ||
        LoadLE<uint64_t>(bytes, kSumAt) != Crc64(bytes.first(kSumAt))) {
        return DecodeResult::Damaged;
    }
    const HistoryHeader header{.nextNumber = LoadLE<int64_t>(bytes, 54),
                               .first = LoadLE<int64_t>(bytes, 62),
                               .done = LoadLE<int64_t>(bytes, 70),
                               .end = LoadLE<int64_t>(bytes, 78),
                               .actions = LoadLE<int64_t>(bytes, 86)};
    const bool isOrdered = kDiskSize <= header.first && header.first <= header.done &&
                           header.done <= header.end && header.end <= fileSize;
    // A number more, and the next action would have none.
    const bool hasNumbers = header.nextNumber >= 1 &&
                            header.nextNumber < std::numeric_limits<int64_t>::max() &&
                            header.actions >= 0 && header.actions < header.nextNumber;
    if (!isOrdered || !hasNumbers) return DecodeResult::Damaged;
    out = header;
    return DecodeResult::Ok;
}

// --- a part

std::vector<uint8_t> HistoryPart::EncodeHead() const {
    std::vector<uint8_t> bytes(kPartMark.begin(), kPartMark.end());
    AppendLE(bytes, uint32_t{0});
    AppendLE(bytes, number);
    AppendLE(bytes, time);
    AppendLE(bytes, kind);
    AppendLE(bytes, static_cast<uint16_t>(tables.size()));
    AppendLE(bytes, changes);
    AppendLE(bytes, subject);
    AppendText<uint16_t>(bytes, std::string_view(label).substr(0, kLongestLabel));
    for (const HistoryTable& table : tables) AppendTable(bytes, table);
    return bytes;
}

bool HistoryPart::Finish(std::vector<uint8_t>& part) {
    const size_t length = part.size() + kTailSize;
    if (length > std::numeric_limits<uint32_t>::max()) return false;
    StoreLE<uint32_t>(part, 4, static_cast<uint32_t>(length));
    AppendLE(part, Crc64(part));
    AppendLE(part, static_cast<uint32_t>(length));
    return true;
}

uint32_t HistoryPart::LengthIn(std::span<const uint8_t> bytes) {
    constexpr size_t kShortest = kFixedSize + kTailSize;
    if (bytes.size() < 8 || std::memcmp(bytes.data(), kPartMark.data(), kPartMark.size()) != 0) {
        return 0;
    }
    const auto length = LoadLE<uint32_t>(bytes, 4);
    return length >= kShortest ? length : 0;
}

bool HistoryPart::IsWhole(std::span<const uint8_t> bytes) {
    const uint32_t length = LengthIn(bytes);
    if (length == 0 || length != bytes.size()) return false;
    const size_t sumAt = length - kTailSize;
    return LoadLE<uint64_t>(bytes, sumAt) == Crc64(bytes.first(sumAt)) &&
           LoadLE<uint32_t>(bytes, sumAt + 8) == length;
}

bool HistoryPart::DecodeHead(std::span<const uint8_t> bytes, HistoryPart& out, size_t& at) {
    if (LengthIn(bytes) == 0) return false;
    CReader reader(bytes, 8);
    HistoryPart part;
    part.number = reader.Number<int64_t>();
    part.time = reader.Number<int64_t>();
    part.kind = reader.Number<uint16_t>();
    const size_t tables = reader.Number<uint16_t>();
    part.changes = reader.Number<uint32_t>();
    part.subject = reader.Number<int64_t>();
    part.label = reader.Text<uint16_t>();
    for (size_t i = 0; i < tables && reader.IsSound(); ++i) {
        part.tables.push_back(ReadTable(reader));
        if (!IsTable(part.tables.back())) return false;
    }
    if (!reader.IsSound()) return false;
    out = std::move(part);
    at = reader.At();
    return true;
}

// --- a change

void HistoryChange::Encode(const HistoryTable& layout, std::vector<uint8_t>& part) const {
    AppendLE(part, static_cast<uint8_t>(action));
    AppendLE(part, table);
    AppendLE(part, row);
    const size_t bits = part.size();
    const size_t columns = layout.columns.size();
    part.resize(bits + (columns + 7) / 8);
    for (size_t i = 0; i < columns; ++i) {
        if (!isSet[i]) continue;
        part[bits + i / 8] |= static_cast<uint8_t>(1U << (i % 8));
        const ColumnType type = layout.columns[i].type;
        if (action != RowAction::Added) AppendValue(part, type, before[i]);
        if (action != RowAction::Deleted) AppendValue(part, type, after[i]);
    }
}

bool HistoryChange::Decode(std::span<const uint8_t> bytes, size_t& at,
                           const std::vector<HistoryTable>& tables, HistoryChange& out) {
    CReader reader(bytes, at);
    const auto code = reader.Number<uint8_t>();
    out.table = reader.Number<uint16_t>();
    out.row = reader.Number<int64_t>();
    if (!reader.IsSound() || !IsAction(code) || out.table >= tables.size() || out.row < 0) {
        return false;
    }
    out.action = static_cast<RowAction>(code);
    const std::vector<HistoryTable::Column>& columns = tables[out.table].columns;
    const size_t bits = reader.At();
    reader.Skip((columns.size() + 7) / 8);
    if (!reader.IsSound()) return false;
    out.isSet.assign(columns.size(), false);
    out.before.assign(columns.size(), {});
    out.after.assign(columns.size(), {});
    for (size_t i = 0; i < columns.size(); ++i) {
        if ((bytes[bits + i / 8] >> (i % 8) & 1U) == 0) continue;
        out.isSet[i] = true;
        if (out.action != RowAction::Added) out.before[i] = ReadValue(reader, columns[i].type);
        if (out.action != RowAction::Deleted) out.after[i] = ReadValue(reader, columns[i].type);
    }
    if (!reader.IsSound()) return false;
    at = reader.At();
    return true;
}

size_t HistoryChange::EndOf(std::span<const uint8_t> bytes, size_t at,
                            const std::vector<HistoryTable>& tables) {
    CReader reader(bytes, at);
    const auto code = reader.Number<uint8_t>();
    const size_t table = reader.Number<uint16_t>();
    reader.Skip(8);
    if (!reader.IsSound() || !IsAction(code) || table >= tables.size()) return 0;
    const std::vector<HistoryTable::Column>& columns = tables[table].columns;
    const size_t bits = reader.At();
    reader.Skip((columns.size() + 7) / 8);
    const int values = static_cast<RowAction>(code) == RowAction::Changed ? 2 : 1;
    for (size_t i = 0; i < columns.size() && reader.IsSound(); ++i) {
        if ((bytes[bits + i / 8] >> (i % 8) & 1U) == 0) continue;
        for (int k = 0; k < values; ++k) (void)ReadValue(reader, columns[i].type);
    }
    return reader.IsSound() ? reader.At() : 0;
}

}  // namespace quillon
