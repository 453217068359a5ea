// Watched from outside, by strace: nothing changes a ledger's folder but the platform's file
// system, which is where the journal and the faulty disks of the tests sit.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "support/TemporaryFolder.h"

namespace quillon {
namespace {

struct Trace {
    int64_t changes = 0;               // calls that change something in the folder
    std::vector<std::string> outside;  // those of them that do not come from the file system
};

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// A call that changes files: its line names a path or, through -y, a descriptor's file.
bool ChangesFolder(const std::string& line, const std::string& folder) {
    if (!Contains(line, folder) || Contains(line, ") = -1 ")) return false;
    const std::string call = line.substr(0, line.find('('));
    if (Contains(call, "write")) {
        // What is written may name the folder as well.
        return Contains(line.substr(0, line.find(',')), folder);
    }
    if (Contains(call, "open")) {
        return Contains(line, "O_WRONLY") || Contains(line, "O_RDWR") || Contains(line, "O_CREAT");
    }
    if (Contains(call, "mmap")) {
        return Contains(line, "PROT_WRITE") && Contains(line, "MAP_SHARED");
    }
    return true;
}

// Lines that start with " > " are the stack of the call before them.
Trace ReadTrace(const std::string& path, const std::string& folder) {
    Trace trace;
    std::ifstream file(path);
    std::string change;
    bool fromFileSystem = false;
    const auto finish = [&] {
        if (change.empty()) return;
        ++trace.changes;
        if (!fromFileSystem) trace.outside.push_back(change);
        change.clear();
    };
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(" > ")) {
            fromFileSystem = fromFileSystem || Contains(line, "CPosixFile");
            continue;
        }
        finish();
        fromFileSystem = false;
        if (ChangesFolder(line, folder)) change = line;
    }
    finish();
    return trace;
}

class FileTraceTest : public testing::Test {
protected:
    // Empty when the command could not be traced.
    std::string TraceOf(const std::string& command) {
        const std::string out = m_folder.File("trace.txt");
        const std::string whole =
            "QUILLON_SETTINGS='" + m_folder.File("Quillon.cfg") +
            "' ASAN_OPTIONS=detect_leaks=0 strace -f -k -y -s 300 -o '" + out +
            "' -e trace=open,openat,creat,rename,renameat,renameat2,unlink,unlinkat,mkdir,"
            "mkdirat,rmdir,link,linkat,symlink,symlinkat,truncate,ftruncate,write,pwrite64,"
            "writev,pwritev,pwritev2,fallocate,copy_file_range,sendfile,mmap,chmod,fchmod,"
            "utimensat " +
            command + " </dev/null >/dev/null 2>'" + m_folder.File("errors.txt") + "'";
        return std::system(whole.c_str()) == 0 ? out : std::string();
    }
    std::string Program(const std::string& words) const {
        return std::string("'") + QUILLON_CLI_PROGRAM + "' --database '" + m_ledger + "' " + words;
    }

    CTemporaryFolder m_folder{"trace"};
    // Written as the kernel shows it.
    const std::string m_ledger =
        std::filesystem::canonical(m_folder.Path()).string() + "/the-ledger";
};

TEST_F(FileTraceTest, OnlyTheFileSystemChangesTheFolder) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizer's own calls would be traced for minutes";
#endif
    if (TraceOf("true").empty()) GTEST_SKIP() << "strace is missing or may not trace here";
    // The tracer must see what goes past the file system.
    ASSERT_EQ(std::system(("mkdir '" + m_ledger + "'").c_str()), 0);
    const std::string shell = "sh -c 'echo x > \"" + m_ledger + "/x\"; rm \"" + m_ledger + "/x\"'";
    const Trace around = ReadTrace(TraceOf(shell), m_ledger);
    ASSERT_GE(around.outside.size(), 2U);

    const std::string backup = m_folder.File("ledger.backup");
    const std::vector<std::string> commands = {
        Program("init"),
        Program("account add Checking --type checking --balance 100 --date 2024-01-31"),
        Program("import qfx '" + m_folder.File("download.qfx") + "' --account Checking"),
        Program("transaction edit 1 --amount 90 --memo other"),
        Program("transaction delete 1"),
        Program("verify --repair"),
        Program("backup '" + backup + "'"),
        Program("restore '" + backup + "' --to '" + m_ledger + "-restored'"),
    };
    std::ofstream(m_folder.File("download.qfx"))
        << "OFXHEADER:100\nDATA:OFXSGML\nVERSION:102\nENCODING:USASCII\nCHARSET:1252\n\n<OFX>"
           "<BANKMSGSRSV1><STMTTRNRS><STMTRS><BANKTRANLIST>\n<STMTTRN><TRNTYPE>DEBIT<DTPOSTED>"
           "20240203<TRNAMT>-5.25<FITID>F1<NAME>Peak Fuel</STMTTRN>\n</BANKTRANLIST></STMTRS>"
           "</STMTTRNRS></BANKMSGSRSV1></OFX>\n";
    for (const std::string& command : commands) {
        const std::string path = TraceOf(command);
        ASSERT_NE(path, "") << command;
        const Trace trace = ReadTrace(path, m_ledger);
        EXPECT_GT(trace.changes, 0) << command;
        for (const std::string& change : trace.outside) ADD_FAILURE() << command << "\n" << change;
    }
}

}  // namespace
}  // namespace quillon
