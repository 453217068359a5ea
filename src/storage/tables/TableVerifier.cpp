#include "storage/tables/TableVerifier.h"

#include <algorithm>
#include <limits>

#include "foundation/ByteCodec.h"
#include "storage/blocks/DataFormat.h"

namespace quillon {
namespace {

std::string RowText(int64_t rowId) {
    return "row " + std::to_string(rowId);
}

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

IntegrityCode CTableVerifier::Report(IntegrityCode code, std::string detail) {
    m_detail = std::move(detail);
    return code;
}

IntegrityCode CTableVerifier::Run(std::string& detail) {
    IntegrityCode code = IntegrityCode::General;
    if (m_table.Columns().empty()) {
        m_detail = "the table has no columns";
    } else if (!m_table.Texts().Dictionary().Load()) {
        code = Report(IntegrityCode::UnreadableText, FileNameOf(m_table.Texts().Data().Path()) +
                                                         ": its dictionary cannot be read");
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
                      FileNameOf(column.index->Path()) + " can be neither read nor made anew");
    }
    if (!column.index || column.index->Count() != m_table.RowCount()) {
        const std::string entries = std::to_string(column.index ? column.index->Count() : 0);
        return Report(IntegrityCode::IndexIncomplete,
                      (column.index ? FileNameOf(column.index->Path()) : column.name.ToUtf8()) +
                          ": " + entries + " entries for " + std::to_string(m_table.RowCount()) +
                          " rows");
    }
    if (column.index->AttributeInFile() != column.indexAttribute) {
        return Report(
            IntegrityCode::IndexColumnType,
            FileNameOf(column.index->Path()) + ": the header's attribute flag is not the column's");
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
    const std::string where = FileNameOf(column.index->Path()) + ", " + RowText(rowId);
    if (rowId == -1 || !m_table.RowExists(rowId)) {
        return Report(IntegrityCode::IndexEntryUnknown, where + " does not exist");
    }
    std::vector<uint8_t> record;
    if (!m_table.ReadRecord(rowId, record)) {
        return Report(IntegrityCode::IndexRecordUnreadable, where + " cannot be read");
    }
    if (IsForeignKey(column.type, key)) {
        return Report(IntegrityCode::IndexColumnType,
                      where + ": no value of the column's type has the key " + std::to_string(key));
    }
    // Texts that cannot be read are found, with their own code, when the rows are checked.
    CTableRowUpdateInfoValue value;
    if (m_table.ValueFromRecord(record, column, value) && value.Key() != key) {
        return Report(IntegrityCode::IndexValueMismatch, where + " holds another value");
    }
    return IntegrityCode::Ok;
}

IntegrityCode CTableVerifier::CheckRows() {
    IntegrityCode code = IntegrityCode::Ok;
    std::vector<uint8_t> record;
    m_table.WalkRows([&](int64_t rowId) {
        code = m_table.ReadRecord(rowId, record)
                   ? CheckRow(rowId, record)
                   : Report(IntegrityCode::UnreadableRecord, FileNameOf(m_table.RowData().Path()) +
                                                                 ", " + RowText(rowId) +
                                                                 " cannot be read");
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
            return Report(IntegrityCode::ColumnTypeMismatch, RowText(rowId) + ", column \"" +
                                                                 column.name.ToUtf8() +
                                                                 "\": neither true nor false");
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
    const std::string where = RowText(rowId) + ", column \"" + column.name.ToUtf8() + "\", text " +
                              std::to_string(textId);
    const CTextManager& texts = m_table.Texts();
    if (textId < 0 || textId >= texts.Dictionary().NextId()) {
        return Report(IntegrityCode::InvalidTextId, where);
    }
    if (!texts.Dictionary().FindLive(textId)) return Report(IntegrityCode::MissingText, where);
    CKeelString text;
    if (!texts.Read(textId, text)) {
        return Report(IntegrityCode::UnreadableText,
                      FileNameOf(texts.Data().Path()) + ", " + where);
    }
    m_textIds.push_back(textId);
    return IntegrityCode::Ok;
}

IntegrityCode CTableVerifier::CheckOrphanTexts() {
    std::sort(m_textIds.begin(), m_textIds.end());
    const auto shared = std::adjacent_find(m_textIds.begin(), m_textIds.end());
    if (shared != m_textIds.end()) {
        return Report(IntegrityCode::TextMismatch,
                      "text " + std::to_string(*shared) + " belongs to two rows");
    }
    // Skipped values may have texts, too.
    if (m_table.HasSkippedValues()) return IntegrityCode::Ok;
    IntegrityCode code = IntegrityCode::Ok;
    m_table.Texts().Dictionary().Walk([&](int64_t id, const DictionaryEntry& entry) {
        if (entry.deleted || std::binary_search(m_textIds.begin(), m_textIds.end(), id)) {
            return true;
        }
        code = Report(IntegrityCode::TextMismatch,
                      "text " + std::to_string(id) + " belongs to no row");
        return false;
    });
    return code;
}

IntegrityCode CTableVerifier::CheckBlocks(const CDictionaryManager& dictionary,
                                          const CDataStore& data) {
    return CheckStoreBlocks(dictionary, data, m_detail);
}

IntegrityCode CheckStoreBlocks(const CDictionaryManager& dictionary, const CDataStore& data,
                               std::string& detail) {
    struct Block {
        int64_t position;
        int64_t size;
        bool free;
    };
    const std::string file = FileNameOf(data.Path());
    if (!dictionary.Load()) {
        detail = file + ": its dictionary cannot be read";
        return IntegrityCode::UnreadableRecord;
    }
    const int64_t end = data.BlockAreaSize();
    std::vector<Block> blocks;
    bool inside = true;
    dictionary.Walk([&](int64_t id, const DictionaryEntry& entry) {
        if (entry.deleted || entry.size == 0) return true;
        inside = entry.size > 0 && entry.position >= 0 && entry.position <= end - entry.size;
        if (!inside) detail = file + ", entry " + std::to_string(id) + " lies outside the file";
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
        detail =
            file + ", byte " +
            std::to_string(second.position + static_cast<int64_t>(DataHeader::kDiskSize)) +
            (onFreeList ? ": a block in use is on the free list" : ": two entries share a block");
        return IntegrityCode::DeletedEntriesRemain;
    }
    return IntegrityCode::Ok;
}

}  // namespace quillon
