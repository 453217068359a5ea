#include "storage/history/HistoryFile.h"

#include <algorithm>
#include <utility>

#include "foundation/ByteCodec.h"
#include "foundation/FileInterface.h"
#include "storage/journal/Journal.h"

namespace quillon {
namespace {

// Most of what stands in front of changes is shorter.
constexpr int64_t kUsualHead = 4096;
// Less is not worth rewriting a file for.
constexpr int64_t kLeastRoomToGiveBack = int64_t{1} << 20;

}  // namespace

CHistoryFile::~CHistoryFile() {
    m_journal.Leave(*this);
}

CHistoryFile::OpenResult CHistoryFile::Open(const std::string& path) {
    Close();
    m_path = path;
    if (!m_journal.Exists(path)) return OpenResult::Ok;
    CFileInterface file(m_journal);
    std::array<uint8_t, HistoryHeader::kDiskSize> bytes{};
    if (!file.OpenExistingForReading(path)) return OpenResult::Unreadable;
    const int64_t size = file.Size();
    if (size < 0) return OpenResult::Unreadable;
    if (size < HistoryHeader::kDiskSize) return OpenResult::Lost;
    if (!file.ReadExactlyAt(0, bytes)) return OpenResult::Unreadable;
    switch (HistoryHeader::Decode(bytes, size, m_header)) {
        case HistoryHeader::DecodeResult::Ok:
            break;
        case HistoryHeader::DecodeResult::Damaged:
        case HistoryHeader::DecodeResult::NewerVersion:
            return OpenResult::Lost;
    }
    m_exists = true;
    return OpenResult::Ok;
}

void CHistoryFile::Close() {
    m_path.clear();
    m_header = {};
    m_exists = false;
}

// --- reading

bool CHistoryFile::OpenToRead(CFileInterface& file) const {
    return m_exists && file.OpenExistingForReading(m_path);
}

bool CHistoryFile::ReadBytes(int64_t at, std::vector<uint8_t>& bytes) const {
    CFileInterface file(m_journal);
    return OpenToRead(file) && file.ReadExactlyAt(at, bytes);
}

HistoryRead CHistoryFile::Before(int64_t end, int64_t& at) const {
    constexpr int64_t kLength = 4;
    if (end <= m_header.first) return HistoryRead::Damaged;
    std::vector<uint8_t> bytes(kLength);
    if (!ReadBytes(end - kLength, bytes)) return HistoryRead::Failed;
    const int64_t length = LoadLE<uint32_t>(bytes, 0);
    at = end - length;
    return length > 0 && at >= m_header.first ? HistoryRead::Ok : HistoryRead::Damaged;
}

HistoryRead CHistoryFile::ReadPart(int64_t at, std::vector<uint8_t>& bytes) const {
    bytes.resize(8);
    if (at < m_header.first || at > m_header.end - 8) return HistoryRead::Damaged;
    if (!ReadBytes(at, bytes)) return HistoryRead::Failed;
    const int64_t length = HistoryPart::LengthIn(bytes);
    if (length == 0 || length > m_header.end - at) return HistoryRead::Damaged;
    bytes.resize(static_cast<size_t>(length));
    if (!ReadBytes(at, bytes)) return HistoryRead::Failed;
    return HistoryPart::IsWhole(bytes) ? HistoryRead::Ok : HistoryRead::Damaged;
}

HistoryRead CHistoryFile::ReadHead(int64_t at, HistoryPart& head, int64_t& length) const {
    CFileInterface file(m_journal);
    return OpenToRead(file) ? ReadHead(file, at, head, length) : HistoryRead::Failed;
}

HistoryRead CHistoryFile::ReadHead(const CFileInterface& file, int64_t at, HistoryPart& head,
                                   int64_t& length) const {
    std::vector<uint8_t> bytes(static_cast<size_t>(std::min(kUsualHead, m_header.end - at)));
    if (!file.ReadExactlyAt(at, bytes)) return HistoryRead::Failed;
    length = HistoryPart::LengthIn(bytes);
    if (length == 0 || length > m_header.end - at) return HistoryRead::Damaged;
    size_t changes = 0;
    if (length > static_cast<int64_t>(bytes.size())) {
        if (HistoryPart::DecodeHead(bytes, head, changes)) return HistoryRead::Ok;
        const HistoryRead read = ReadPart(at, bytes);
        if (read != HistoryRead::Ok) return read;
    } else {
        bytes.resize(static_cast<size_t>(length));
        if (!HistoryPart::IsWhole(bytes)) return HistoryRead::Damaged;
    }
    return HistoryPart::DecodeHead(bytes, head, changes) ? HistoryRead::Ok : HistoryRead::Damaged;
}

HistoryRead CHistoryFile::Walk(int64_t from, int64_t to, const VisitHead& visit) const {
    if (from >= to) return HistoryRead::Ok;
    CFileInterface file(m_journal);
    if (!OpenToRead(file)) return HistoryRead::Failed;
    HistoryPart head;
    for (int64_t length = 0; from < to; from += length) {
        const HistoryRead read = ReadHead(file, from, head, length);
        if (read != HistoryRead::Ok) return read;
        if (!visit(from, length, head)) break;
    }
    return HistoryRead::Ok;
}

// --- writing

bool CHistoryFile::Write(int64_t at, const std::vector<uint8_t>& bytes, bool cut) {
    CFileInterface file(m_journal);
    Touch();
    if (!(m_exists ? file.OpenExisting(m_path) : file.Create(m_path))) return false;
    m_exists = true;
    const int64_t end = at + static_cast<int64_t>(bytes.size());
    return file.WriteAt(at, bytes) && (!cut || file.SetSize(end)) &&
           file.WriteAt(0, m_header.Encode());
}

bool CHistoryFile::WriteHeader() {
    CFileInterface file(m_journal);
    Touch();
    return m_exists && file.OpenExisting(m_path) && file.WriteAt(0, m_header.Encode());
}

bool CHistoryFile::Append(const std::vector<uint8_t>& part, bool isNextAction) {
    Touch();
    const bool cut = HasUndone();
    if (cut) DropUndone();
    const int64_t at = m_header.done;
    m_header.done = m_header.end = at + static_cast<int64_t>(part.size());
    if (isNextAction) {
        ++m_header.nextNumber;
        ++m_header.actions;
    }
    return Write(at, part, cut);
}

void CHistoryFile::DropUndone() {
    int64_t last = 0;
    HistoryPart head;
    int64_t length = 0;
    // An action may be taken back in part, and then stays one.
    const bool isRead =
        LastDone(last) == HistoryRead::Ok && ReadHead(last, head, length) == HistoryRead::Ok;
    int64_t number = isRead ? head.number : 0;
    // Damaged ones could not be brought back anyway.
    (void)Walk(m_header.done, m_header.end, [&](int64_t, int64_t, const HistoryPart& part) {
        if (part.number != number && m_header.actions > 0) --m_header.actions;
        number = part.number;
        return true;
    });
    m_header.end = m_header.done;
}

bool CHistoryFile::SetDone(int64_t at) {
    Touch();
    m_header.done = at;
    return WriteHeader();
}

// --- the oldest go

bool CHistoryFile::Trim(int64_t mostActions, int64_t mostBytes) {
    const auto isTooMuch = [&](int64_t first, int64_t actions) {
        return actions > mostActions || m_header.end - first > mostBytes;
    };
    if (!m_exists || !isTooMuch(m_header.first, m_header.actions)) return true;
    Touch();
    int64_t actions = m_header.actions + 1;
    int64_t number = 0;
    int64_t first = m_header.first;
    const HistoryRead walked =
        Walk(m_header.first, m_header.end, [&](int64_t at, int64_t, const HistoryPart& part) {
            if (part.number == number) return true;
            number = part.number;
            --actions;
            first = at;
            // Behind this one nothing stands, or it is enough.
            return actions > 1 && isTooMuch(at, actions);
        });
    // Of what was taken back only the first can be brought back next: without it none can.
    if (walked == HistoryRead::Failed) return false;
    if (walked == HistoryRead::Damaged || first > m_header.done) return DropAll();
    m_header.first = first;
    m_header.actions = actions;
    return WriteHeader() && Compact();
}

// With a damaged part among them nobody can tell where the others begin.
bool CHistoryFile::DropAll() {
    m_header.first = m_header.done = m_header.end;
    m_header.actions = 0;
    return WriteHeader() && Compact();
}

bool CHistoryFile::Compact() {
    const int64_t unused = m_header.first - HistoryHeader::kDiskSize;
    const int64_t used = m_header.end - m_header.first;
    if (unused < kLeastRoomToGiveBack || unused < used) return true;
    std::vector<uint8_t> bytes(static_cast<size_t>(used));
    if (!ReadBytes(m_header.first, bytes)) return false;
    m_header.first -= unused;
    m_header.done -= unused;
    m_header.end -= unused;
    return Write(m_header.first, bytes, true);
}

// --- brackets

void CHistoryFile::Touch() {
    if (m_touched || !m_journal.IsAttached() || !m_journal.InBatch()) return;
    m_before = m_header;
    m_existed = m_exists;
    m_journal.Join(*this);
    m_touched = true;
}

bool CHistoryFile::OnBracketCommitted() {
    m_touched = false;
    return true;
}

bool CHistoryFile::OnBracketRolledBack() {
    m_header = m_before;
    m_exists = m_existed;
    m_touched = false;
    return true;
}

}  // namespace quillon
