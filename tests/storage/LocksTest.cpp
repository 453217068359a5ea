// While one thread is inside an operation of an object, every other operation of it has to wait.

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>
#include <utility>

#include "StoreFixture.h"
#include "foundation/ReentrantLock.h"
#include "storage/journal/Checksums.h"
#include "support/ForwardingFiles.h"

namespace quillon {
namespace {

using Action = std::function<void()>;

struct Operation {
    const char* name;
    Action run;
};

// A second thread that comes while the first is inside.
class CIntruder {
public:
    ~CIntruder() {
        if (m_thread.joinable()) m_thread.join();
    }
    // Starts the operation; returns when it is over or has to wait.
    void Enter(const Action& operation) {
        const int32_t before = CReentrantLock::WaitingThreads();
        m_thread = std::thread([this, operation] {
            operation();
            m_isOver = true;
        });
        while (!m_isOver && CReentrantLock::WaitingThreads() == before) std::this_thread::yield();
        m_waited = !m_isOver;
    }
    bool HadToWait() const { return m_waited; }

private:
    std::thread m_thread;
    std::atomic<bool> m_isOver{false};
    bool m_waited = false;
};

// `inside(action)` runs the action in the middle of an operation of the object.
void ExpectAllWait(const std::function<void(const Action&)>& inside,
                   const std::vector<Operation>& operations) {
    for (const Operation& operation : operations) {
        CIntruder intruder;
        inside([&] { intruder.Enter(operation.run); });
        EXPECT_TRUE(intruder.HadToWait()) << operation.name;
    }
}

// Runs what was left for it in the middle of the next call.
class CHookedFiles final : public CForwardingFiles {
public:
    using CForwardingFiles::CForwardingFiles;
    Action hook;

private:
    bool Enter() override {
        if (hook) std::exchange(hook, nullptr)();
        return true;
    }
};

class Locks : public testing::Test {
protected:
    Locks() {
        EXPECT_TRUE(memory.MakeFolder(kFolder));
        EXPECT_EQ(journal.Attach(kFolder, 7), CJournal::AttachResult::Ok);
    }
    // Inside an operation that reads from the disk.
    std::function<void(const Action&)> Reading(const Action& read) {
        return [this, read](const Action& meanwhile) {
            files.hook = meanwhile;
            read();
            EXPECT_FALSE(files.hook) << "nothing was read";
        };
    }

    CMemoryFileSystem memory;
    CHookedFiles files{memory};
    CJournal journal{files};
    const Bytes block = Text("block");
    const std::string base = std::string(kFolder) + "Table_1.dat";
};

TEST_F(Locks, FreeList) {
    CDeletedBlockManager list(memory);
    ASSERT_TRUE(list.Add(0, 8));
    int64_t position = 0;
    ExpectAllWait(
        [&](const Action& meanwhile) {
            bool isFirst = true;
            list.Walk([&](const auto&) {
                if (std::exchange(isFirst, false)) meanwhile();
            });
        },
        {{"Count", [&] { (void)list.Count(); }},
         {"Walk", [&] { list.Walk([](const auto&) {}); }},
         {"Add", [&] { (void)list.Add(8, 8); }},
         {"Take", [&] { (void)list.Take(8, position); }},
         {"Mark", [&] { list.Mark(); }},
         {"UndoToMark", [&] { list.UndoToMark(); }},
         {"ForgetMark", [&] { list.ForgetMark(); }},
         {"SetPath", [&] { list.SetPath(std::string(kFolder) + "Table_1_data_del.dat"); }},
         {"Save", [&] { (void)list.Save(); }},
         {"GetFileSize", [&] { (void)list.GetFileSize(); }},
         {"Load", [&] { (void)list.Load(100); }},
         {"Clear", [&] { list.Clear(); }}});
}

TEST_F(Locks, DataStore) {
    CDataStore store(journal);
    store.SetPath(CKeelString(WithSuffix(base, "_data")));
    int64_t position = 0;
    ASSERT_TRUE(store.Open() && store.AllocateAndWrite(block.data(), 5, position));
    Bytes into(5);
    const Action read = [&] { (void)store.ReadAt(into.data(), 5, 0); };
    ExpectAllWait(
        Reading(read),
        {{"ReadAt", read},
         {"IsOpen", [&] { (void)store.IsOpen(); }},
         {"Path", [&] { (void)store.Path(); }},
         {"BlockAreaSize", [&] { (void)store.BlockAreaSize(); }},
         {"GetStorageSize", [&] { (void)store.GetStorageSize(); }},
         {"Holds", [&] { (void)store.Holds(5, 0); }},
         {"WriteAt", [&] { (void)store.WriteAt(block.data(), 5, 0); }},
         {"AllocateAndWrite", [&] { (void)store.AllocateAndWrite(block.data(), 5, position); }},
         {"FreeBlock", [&] { (void)store.FreeBlock(5, 5); }},
         {"ClearFreeList", [&] { (void)store.ClearFreeList(); }},
         {"Flush", [&] { (void)store.Flush(); }},
         {"OnBracketCommitted", [&] { (void)store.OnBracketCommitted(); }},
         {"OnBracketRolledBack", [&] { (void)store.OnBracketRolledBack(); }},
         {"Open", [&] { (void)store.Open(); }},
         {"SetPath", [&] { store.SetPath(CKeelString(store.Path())); }}});
    // Whatever takes the block away comes one at a time.
    ExpectAllWait(Reading(read), {{"Reset", [&] { (void)store.Reset(); }}});
    ASSERT_TRUE(store.AllocateAndWrite(block.data(), 5, position));
    ExpectAllWait(Reading(read), {{"Close", [&] { store.Close(); }}});
    ASSERT_TRUE(store.Open());
    ExpectAllWait(Reading(read), {{"DeleteFiles", [&] { (void)store.DeleteFiles(); }}});
}

TEST_F(Locks, Dictionary) {
    CDictionaryManager dictionary(journal);
    dictionary.SetPath(CKeelString(WithSuffix(base, "_dict")));
    ASSERT_TRUE(dictionary.Open());
    ASSERT_EQ(dictionary.Add(0, 8), 0);
    ExpectAllWait(
        [&](const Action& meanwhile) {
            dictionary.Walk([&](int64_t, const DictionaryEntry&) {
                meanwhile();
                return false;
            });
        },
        {{"Walk", [&] { dictionary.Walk([](int64_t, const auto&) { return true; }); }},
         {"IsOpen", [&] { (void)dictionary.IsOpen(); }},
         {"LoadFailed", [&] { (void)dictionary.LoadFailed(); }},
         {"GetFileSize", [&] { (void)dictionary.GetFileSize(); }},
         {"Exists", [&] { (void)dictionary.Exists(0); }},
         {"Find", [&] { (void)dictionary.Find(0); }},
         {"FindLive", [&] { (void)dictionary.FindLive(0); }},
         {"NextId", [&] { (void)dictionary.NextId(); }},
         {"LiveCount", [&] { (void)dictionary.LiveCount(); }},
         {"EntryCount", [&] { (void)dictionary.EntryCount(); }},
         {"NeedsCompaction", [&] { (void)dictionary.NeedsCompaction(); }},
         {"Add", [&] { (void)dictionary.Add(8, 8); }},
         {"Move", [&] { (void)dictionary.Move(0, 16, 8); }},
         {"MarkDeleted", [&] { (void)dictionary.MarkDeleted(1); }},
         {"SkipIdsBelow", [&] { (void)dictionary.SkipIdsBelow(9); }},
         {"Compact", [&] { (void)dictionary.Compact(true); }},
         {"CompactMoved", [&] { (void)dictionary.CompactMoved({}); }},
         {"Flush", [&] { (void)dictionary.Flush(); }},
         {"OnBracketCommitted", [&] { (void)dictionary.OnBracketCommitted(); }},
         {"OnBracketRolledBack", [&] { (void)dictionary.OnBracketRolledBack(); }},
         {"Open", [&] { (void)dictionary.Open(); }},
         {"SetPath", [&] { dictionary.SetPath(CKeelString(WithSuffix(base, "_dict"))); }},
         {"Close", [&] { dictionary.Close(); }}});
    ASSERT_TRUE(dictionary.Open());
}

TEST_F(Locks, Index) {
    CIndexManager index(journal, ColumnType::Int64, true);
    const std::string path = WithSuffix(base, "_index_1");
    ASSERT_TRUE(index.Create(path) && index.Add(1, 10));
    int64_t key = 0;
    std::vector<int64_t> rows;
    ExpectAllWait(
        [&](const Action& meanwhile) {
            index.Walk([&](int64_t, int64_t) {
                meanwhile();
                return false;
            });
        },
        {{"Walk", [&] { index.Walk([](int64_t, int64_t) { return true; }); }},
         {"Count", [&] { (void)index.Count(); }},
         {"DistinctKeys", [&] { (void)index.DistinctKeys(); }},
         {"FileSize", [&] { (void)index.FileSize(); }},
         {"NeedsCompaction", [&] { (void)index.NeedsCompaction(); }},
         {"AttributeInFile", [&] { (void)index.AttributeInFile(); }},
         {"KeyOf", [&] { (void)index.KeyOf(1, key); }},
         {"CollectEqual", [&] { index.CollectEqual(10, rows); }},
         {"EstimateEqual", [&] { (void)index.EstimateEqual(10); }},
         {"CollectRange", [&] { index.CollectRange(0, 20, rows); }},
         {"EstimateRange", [&] { (void)index.EstimateRange(0, 20); }},
         {"KeysOf",
          [&] {
              std::vector<int64_t> keys;
              (void)index.KeysOf(rows, keys);
          }},
         {"Load", [&] { (void)index.Load(); }},
         {"IsLoaded", [&] { (void)index.IsLoaded(); }},
         {"FindsWithoutLoading", [&] { (void)index.FindsWithoutLoading(1); }},
         {"KeepRows", [&] { index.KeepRows(rows, [](int64_t) { return true; }); }},
         {"Add", [&] { (void)index.Add(2, 20); }},
         {"AddNew", [&] { (void)index.AddNew(3, 20); }},
         {"Update", [&] { (void)index.Update(2, 30); }},
         {"Remove", [&] { (void)index.Remove(2); }},
         {"Compact", [&] { (void)index.Compact(); }},
         {"SaveHeader", [&] { (void)index.SaveHeader(); }},
         {"OnBracketCommitted", [&] { (void)index.OnBracketCommitted(); }},
         {"OnBracketRolledBack", [&] { (void)index.OnBracketRolledBack(); }},
         {"Open", [&] { (void)index.Open(path); }},
         {"Close", [&] { index.Close(); }}});
    ASSERT_EQ(index.Open(path), IndexLoad::Ok);
    EXPECT_EQ(index.Count(), 2);
}

// Their dictionaries and stores have locks of their own, so this asks while the text or BLOB is
// being read and its dictionary is free.
TEST_F(Locks, TextsAndBlobs) {
    CTextManager texts(journal);
    texts.SetBasePath(base);
    ASSERT_TRUE(texts.Open());
    ASSERT_EQ(texts.Add("a text"), 0);
    CKeelString text;
    const Action readText = [&] { (void)texts.Read(0, text); };
    ExpectAllWait(Reading(readText), {{"Read", readText},
                                      {"NeedsCompaction", [&] { (void)texts.NeedsCompaction(); }},
                                      {"Add", [&] { (void)texts.Add("another"); }},
                                      {"Replace", [&] { (void)texts.Replace(0, "A text"); }},
                                      {"Delete", [&] { (void)texts.Delete(1); }},
                                      {"Flush", [&] { (void)texts.Flush(); }},
                                      {"Compact", [&] { (void)texts.Compact(); }}});
    CBLOBManager blobs(journal);
    blobs.SetBasePath(base);
    ASSERT_TRUE(blobs.Open());
    ASSERT_EQ(blobs.Add(block), 0);
    Bytes bytes;
    const Action readBlob = [&] { (void)blobs.Read(0, bytes); };
    ExpectAllWait(Reading(readBlob), {{"Read", readBlob},
                                      {"NeedsCompaction", [&] { (void)blobs.NeedsCompaction(); }},
                                      {"Add", [&] { (void)blobs.Add(block); }},
                                      {"Replace", [&] { (void)blobs.Replace(0, block); }},
                                      {"Delete", [&] { (void)blobs.Delete(1); }},
                                      {"Flush", [&] { (void)blobs.Flush(); }},
                                      {"Compact", [&] { (void)blobs.Compact(); }}});
}

// The manager and its tables share one lock.
TEST(DatabaseLocks, EveryOperationTakesThem) {
    CMemoryFileSystem files;
    CDatabaseManager database(files);
    ASSERT_TRUE(database.Open(kFolder) && MakeLedgerTable(database));
    ASSERT_EQ(AddLedgerRow(database, {"a", 1, 1, "memo"}), 0);
    ASSERT_EQ(database.AddBlob(Text("blob")), 0);
    CTableManager* table = database.FindTable("Ledger");
    const CTableColumn* name = table->FindColumn("Name");
    Bytes bytes;
    IntegrityDetail detail;
    std::vector<std::string> names;
    std::vector<TableIntegrity> codes;
    std::vector<PageDamage> damage;
    CTableRowUpdateInfo row;
    CTableRowUpdateInfoValue value;
    const auto inside = [&](const Action& meanwhile) {
        const CLockScope lock(database.Lock());
        meanwhile();
    };
    ExpectAllWait(
        inside,
        {
            {"table: FindColumn", [&] { (void)table->FindColumn("Name"); }},
            {"table: FindColumnById", [&] { (void)table->FindColumnById(1); }},
            {"table: RowCount", [&] { (void)table->RowCount(); }},
            {"table: RecordSize", [&] { (void)table->RecordSize(); }},
            {"table: RowExists", [&] { (void)table->RowExists(0); }},
            {"table: WalkRows", [&] { table->WalkRows([](int64_t) { return true; }); }},
            {"table: ReadRecord", [&] { (void)table->ReadRecord(0, bytes); }},
            {"table: ReadValue", [&] { (void)table->ReadValue(0, *name, value); }},
            {"table: ValueFromRecord", [&] { (void)table->ValueFromRecord(bytes, *name, value); }},
            {"table: Verify", [&] { (void)table->Verify(detail); }},
            {"table: ListFiles", [&] { table->ListFiles(names); }},
            {"table: NeedsCompaction", [&] { (void)table->NeedsCompaction(); }},
            {"table: AddRow", [&] { (void)table->AddRow(row); }},
            {"table: UpdateRow", [&] { (void)table->UpdateRow(row); }},
            {"table: DeleteRow", [&] { (void)table->DeleteRow(1); }},
            {"table: SkipRowIdsBelow", [&] { (void)table->SkipRowIdsBelow(5); }},
            {"table: RebuildIndexes", [&] { (void)table->RebuildIndexes(); }},
            {"table: SaveDefinition", [&] { (void)table->SaveDefinition(); }},
            {"table: Flush", [&] { (void)table->Flush(); }},
            {"table: RemoveDeleted", [&] { (void)table->RemoveDeleted(); }},
            {"IsOpen", [&] { (void)database.IsOpen(); }},
            {"Problem", [&] { (void)database.Problem(); }},
            {"SchemaChangeTime", [&] { (void)database.SchemaChangeTime(); }},
            {"InBatch", [&] { (void)database.InBatch(); }},
            {"FindTable", [&] { (void)database.FindTable("Ledger"); }},
            {"HasColumn", [&] { (void)database.HasColumn("Ledger", "Name"); }},
            {"BeginBatch", [&] { (void)database.BeginBatch(); }},
            {"CommitBatch", [&] { (void)database.CommitBatch(); }},
            {"RollbackBatch", [&] { database.RollbackBatch(); }},
            // Without a row: the table would wait for them.
            {"SetText", [&] { (void)database.SetText("Name", "b"); }},
            {"SetBoolean", [&] { (void)database.SetBoolean("Open", true); }},
            {"SetInt32", [&] { (void)database.SetInt32("Check", 1); }},
            {"SetInt64", [&] { (void)database.SetInt64("Account", 1); }},
            {"SetDouble", [&] { (void)database.SetDouble("Amount", 1); }},
            {"SetDateTime", [&] { (void)database.SetDateTime("Date", 1); }},
            {"BeginRow", [&] { (void)database.BeginRow("Ledger"); }},
            {"BeginRowUpdate", [&] { (void)database.BeginRowUpdate("Ledger", 0); }},
            {"CommitRow", [&] { (void)database.CommitRow(); }},
            {"AbandonRow", [&] { database.AbandonRow(); }},
            {"DeleteRow", [&] { (void)database.DeleteRow("Ledger", 0); }},
            {"AddBlob", [&] { (void)database.AddBlob(Text("c")); }},
            {"ReadBlob", [&] { (void)database.ReadBlob(0, bytes); }},
            {"ReplaceBlob", [&] { (void)database.ReplaceBlob(0, Text("d")); }},
            {"DeleteBlob", [&] { (void)database.DeleteBlob(1); }},
            {"Flush", [&] { (void)database.Flush(); }},
            {"RemoveDeleted", [&] { (void)database.RemoveDeleted(); }},
            {"Verify", [&] { (void)database.Verify(codes); }},
            {"VerifyPages", [&] { (void)database.VerifyPages(damage); }},
            {"AcceptPages", [&] { (void)database.AcceptPages(); }},
            {"RebuildIndexes", [&] { (void)database.RebuildIndexes(); }},
            {"ListFiles", [&] { (void)database.ListFiles(names); }},
            {"RunTimers", [&] { database.RunTimers(0); }},
            {"CreateTable", [&] { (void)database.CreateTable("New"); }},
            {"AddColumn",
             [&] { (void)database.AddColumn("New", "A", ColumnType::Int64, true, true); }},
            {"RemoveColumn", [&] { (void)database.RemoveColumn("New", "A"); }},
            {"RemoveTable", [&] { (void)database.RemoveTable("New"); }},
            {"Close", [&] { (void)database.Close(); }},
            {"Open", [&] { (void)database.Open(kFolder); }},
        });
    EXPECT_EQ(CodeOf(database), 0);
}

}  // namespace
}  // namespace quillon
