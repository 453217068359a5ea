#include "storage/tables/TableVerifier.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "foundation/ByteCodec.h"
#include "storage/blocks/DataFormat.h"

namespace quillon {
namespace {

using Kind = IntegrityDetail::Kind;

// Keys that no value of the column's type can have.
bool IsForeignKey(ColumnType type, int64_t key) {
    switch (type) {
        case ColumnType::Boolean:
            return key != 0 && key != 1;
        case ColumnType::Int32:
            return key < std::numeric_limits<int32_t>::min() ||
                   key > std::numeric_limits<int32_t>::max();
        default:
            return false;
    }
}

}  // namespace

IntegrityCode CTableVerifier::Report(IntegrityCode code, IntegrityDetail detail) {
    m_detail = std::move(detail);
    return code;
}

IntegrityCode CTableVerifier::Run(IntegrityDetail& detail) {
    IntegrityCode code = IntegrityCode::General;
    if (m_table.Columns().empty()) {
        m_detail.kind = Kind::NoColumns;
    } else if (!m_table.Texts().Dictionary().Load()) {
        code =
            Report(IntegrityCode::UnreadableText,
                   {.kind = Kind::NoDictionary, .file = FileNameOf(m_table.Texts().Data().Path())});
    } else {
        code = CheckIndexes();
    }
    if (code == IntegrityCode::Ok) code = CheckRows();
    if (code == IntegrityCode::Ok) code = CheckOrphanTexts();
    if (code == IntegrityCode::Ok) code = CheckBlocks(m_table.Rows(), m_table.RowData());
    if (code == IntegrityCode::Ok) {
        code = CheckBlocks(m_table.Texts().Dictionary(), m_table.Texts().Data());
    }
    detail = m_detail;
    return code;
}

IntegrityCode CTableVerifier::CheckIndexes() {
    for (const CTableColumn& column : m_table.Columns()) {
        if (!column.indexed || !IsColumnType(column.type)) continue;
        const IntegrityCode code = CheckIndex(column);
        if (code != IntegrityCode::Ok) return code;
    }
    return IntegrityCode::Ok;
}

IntegrityCode CTableVerifier::CheckIndex(const CTableColumn& column) {
    if (column.index && !m_table.LoadIndex(column)) {
        return Report(IntegrityCode::IndexRecordUnreadable,
                      {.kind = Kind::NoIndex, .file = FileNameOf(column.index->Path())});
    }
    if (!column.index || column.index->Count() != m_table.RowCount()) {
        return Report(IntegrityCode::IndexIncomplete,
                      {.kind = Kind::EntryCount,
                       .file = column.index ? FileNameOf(column.index->Path()) : "",
                       .column = column.name.ToUtf8(),
                       .number = column.index ? column.index->Count() : 0,
                       .rows = m_table.RowCount()});
    }
    if (column.index->AttributeInFile() != column.indexAttribute) {
        return Report(IntegrityCode::IndexColumnType,
                      {.kind = Kind::AttributeFlag, .file = FileNameOf(column.index->Path())});
    }
    IntegrityCode code = IntegrityCode::Ok;
    column.index->Walk([&](int64_t key, int64_t rowId) {
        code = CheckIndexEntry(column, key, rowId);
        return code == IntegrityCode::Ok;
    });
    return code;
}

IntegrityCode CTableVerifier::CheckIndexEntry(const CTableColumn& column, int64_t key,
                                              int64_t rowId) {
    const auto report = [&](IntegrityCode code, Kind kind, int64_t number = 0) {
        return Report(code, {.kind = kind,
                             .file = FileNameOf(column.index->Path()),
                             .row = rowId,
                             .number = number});
    };
    if (rowId == -1 || !m_table.RowExists(rowId)) {
        return report(IntegrityCode::IndexEntryUnknown, Kind::NoSuchRow);
    }
    std::vector<uint8_t> record;
    if (!m_table.ReadRecord(rowId, record)) {
        return report(IntegrityCode::IndexRecordUnreadable, Kind::UnreadableRow);
    }
    if (IsForeignKey(column.type, key)) {
        return report(IntegrityCode::IndexColumnType, Kind::ForeignKey, key);
    }
    // Texts that cannot be read are found, with their own code, when the rows are checked.
    CTableRowUpdateInfoValue value;
    if (m_table.ValueFromRecord(record, column, value) && value.Key() != key) {
        return report(IntegrityCode::IndexValueMismatch, Kind::OtherValue);
    }
    return IntegrityCode::Ok;
}

IntegrityCode CTableVerifier::CheckRows() {
    IntegrityCode code = IntegrityCode::Ok;
    std::vector<uint8_t> record;
    m_table.WalkRows([&](int64_t rowId) {
        code = m_table.ReadRecord(rowId, record)
                   ? CheckRow(rowId, record)
                   : Report(IntegrityCode::UnreadableRecord,
                            {.kind = Kind::UnreadableRow,
                             .file = FileNameOf(m_table.RowData().Path()),
                             .row = rowId});
        return code == IntegrityCode::Ok;
    });
    return code;
}

IntegrityCode CTableVerifier::CheckRow(int64_t rowId, const std::vector<uint8_t>& record) {
    for (const CTableColumn& column : m_table.Columns()) {
        if (!IsColumnType(column.type)) continue;
        const int64_t found = m_table.OffsetIn(record.size(), column);
        if (found < 0) continue;  // between skipped values
        const auto offset = static_cast<size_t>(found);
        if (column.type == ColumnType::Boolean && record[offset] > 1) {
            return Report(
                IntegrityCode::ColumnTypeMismatch,
                {.kind = Kind::NeitherBoolean, .column = column.name.ToUtf8(), .row = rowId});
        }
        if (column.type != ColumnType::Text) continue;
        const IntegrityCode code = CheckTextId(LoadLE<int64_t>(record, offset), rowId, column);
        if (code != IntegrityCode::Ok) return code;
    }
    return IntegrityCode::Ok;
}

IntegrityCode CTableVerifier::CheckTextId(int64_t textId, int64_t rowId,
                                          const CTableColumn& column) {
    if (textId == CTextManager::kNoText) return IntegrityCode::Ok;
    const auto report = [&](IntegrityCode code, std::string file = {}) {
        return Report(code, {.kind = Kind::BadText,
                             .file = std::move(file),
                             .column = column.name.ToUtf8(),
                             .row = rowId,
                             .number = textId});
    };
    const CTextManager& texts = m_table.Texts();
    if (textId < 0 || textId >= texts.Dictionary().NextId()) {
        return report(IntegrityCode::InvalidTextId);
    }
    if (!texts.Dictionary().FindLive(textId)) return report(IntegrityCode::MissingText);
    CKeelString text;
    if (!texts.Read(textId, text)) {
        return report(IntegrityCode::UnreadableText, FileNameOf(texts.Data().Path()));
    }
    m_textIds.push_back(textId);
    return IntegrityCode::Ok;
}

IntegrityCode CTableVerifier::CheckOrphanTexts() {
    std::sort(m_textIds.begin(), m_textIds.end());
    const auto shared = std::adjacent_find(m_textIds.begin(), m_textIds.end());
    if (shared != m_textIds.end()) {
        return Report(IntegrityCode::TextMismatch, {.kind = Kind::SharedText, .number = *shared});
    }
    // Skipped values may have texts, too.
    if (m_table.HasSkippedValues()) return IntegrityCode::Ok;
    IntegrityCode code = IntegrityCode::Ok;
    m_table.Texts().Dictionary().Walk([&](int64_t id, const DictionaryEntry& entry) {
        if (entry.deleted || std::binary_search(m_textIds.begin(), m_textIds.end(), id)) {
            return true;
        }
        code = Report(IntegrityCode::TextMismatch, {.kind = Kind::OrphanText, .number = id});
        return false;
    });
    return code;
}

IntegrityCode CTableVerifier::CheckBlocks(const CDictionaryManager& dictionary,
                                          const CDataStore& data) {
    return CheckStoreBlocks(dictionary, data, m_detail);
}

IntegrityCode CheckStoreBlocks(const CDictionaryManager& dictionary, const CDataStore& data,
                               IntegrityDetail& detail) {
    struct Block {
        int64_t position;
        int64_t size;
        bool free;
    };
    const std::string file = FileNameOf(data.Path());
    if (!dictionary.Load()) {
        detail = {.kind = Kind::NoDictionary, .file = file};
        return IntegrityCode::UnreadableRecord;
    }
    const int64_t end = data.BlockAreaSize();
    std::vector<Block> blocks;
    bool inside = true;
    dictionary.Walk([&](int64_t id, const DictionaryEntry& entry) {
        if (entry.deleted || entry.size == 0) return true;
        inside = entry.size > 0 && entry.position >= 0 && entry.position <= end - entry.size;
        if (!inside) detail = {.kind = Kind::OutsideFile, .file = file, .number = id};
        blocks.push_back({entry.position, entry.size, false});
        return inside;
    });
    if (!inside) return IntegrityCode::UnreadableRecord;
    data.FreeList().Walk([&](const DeletedBlockEntry& block) {
        blocks.push_back({block.position, block.size, true});
    });
    std::sort(blocks.begin(), blocks.end(),
              [](const Block& a, const Block& b) { return a.position < b.position; });
    for (size_t i = 1; i < blocks.size(); ++i) {
        const Block& first = blocks[i - 1];
        const Block& second = blocks[i];
        if (first.position + first.size <= second.position) continue;
        const bool onFreeList = first.free || second.free;
        detail = {.kind = onFreeList ? Kind::FreeBlockInUse : Kind::SharedBlock,
                  .file = file,
                  .number = second.position + static_cast<int64_t>(DataHeader::kDiskSize)};
        return IntegrityCode::DeletedEntriesRemain;
    }
    return IntegrityCode::Ok;
}

}  // namespace quillon
