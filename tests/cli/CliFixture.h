#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "cli/CommandLine.h"
#include "support/MemoryFileSystem.h"
#include "support/TemporaryFolder.h"

namespace quillon {

// What one run of the command line left behind.
struct CliRun {
    int status = 0;
    std::string out;
    std::string err;

    nlohmann::ordered_json Json() const {
        return nlohmann::ordered_json::parse(out, nullptr, false);
    }
    // Names of the members, in their order.
    static std::vector<std::string> Keys(const nlohmann::ordered_json& object) {
        std::vector<std::string> keys;
        for (const auto& member : object.items()) keys.push_back(member.key());
        return keys;
    }
};

// The words of a command: "transaction list 'Old card'", where quotes keep blanks in a word, or
// a list of words.
struct CommandWords : std::vector<std::string> {
    CommandWords() = default;
    CommandWords(std::initializer_list<std::string> words) : vector(words) {}
    CommandWords(const char* line) {
        bool isQuoted = false;
        bool isWord = false;
        for (; *line; ++line) {
            const bool ends = *line == ' ' && !isQuoted;
            if (!ends && !isWord) emplace_back();
            isWord = !ends;
            if (*line == '\'') {
                isQuoted = !isQuoted;
            } else if (!ends) {
                back() += *line;
            }
        }
    }
    CommandWords(const std::string& line) : CommandWords(line.c_str()) {}

    CommandWords operator+(const CommandWords& more) const {
        CommandWords words = *this;
        words.insert(words.end(), more.begin(), more.end());
        return words;
    }
};

// The command line over a disk in memory and a settings file of its own. The ledger is
// "ledger" unless a test says otherwise.
class CliTest : public testing::Test {
protected:
    using Arguments = CommandWords;

    CliRun RunBare(const Arguments& arguments) {
        std::ostringstream out;
        std::ostringstream err;
        const auto ask = [this](const std::string& prompt, std::string& answer) {
            m_prompts.push_back(prompt);
            if (m_typed.empty()) return false;
            answer = m_typed.front();
            m_typed.pop_front();
            return true;
        };
        CommandLineHost host{.out = out,
                             .err = err,
                             .readPassword = ask,
                             .readAnswer = ask,
                             .settings = SettingsPlaces::Fixed(m_folder.File("Quillon.cfg")),
                             .files = m_disk,
                             .keyCost = {.memoryKiB = 64, .passes = 1}};
        CliRun run;
        run.status = static_cast<int>(RunCommandLine(arguments, host));
        run.out = out.str();
        run.err = err.str();
        return run;
    }

    CliRun Run(const Arguments& arguments) {
        return RunBare(Arguments("--database ledger") + arguments);
    }

    // A run that must succeed without a word on standard error; its JSON document.
    nlohmann::ordered_json Json(const Arguments& arguments) {
        const CliRun run = Run(Arguments("--json") + arguments);
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(run.err, "");
        EXPECT_FALSE(run.Json().is_discarded()) << run.out;
        return run.Json();
    }

    // A ledger with 'Checking' (1,000.00), 'Savings' and 'Visa' (-200.00).
    void MakeLedger() {
        Json("init");
        Json("account add Checking --type checking --balance 1000 --date 2024-01-01");
        Json("account add Savings --type savings");
        Json("account add Visa --type credit --balance -200.00 --date 2024-01-01");
    }

    double BalanceOf(const std::string& account) {
        for (const auto& row : Json("account list")) {
            if (row.at("name") == account) return row.at("balance");
        }
        ADD_FAILURE() << "no account " << account;
        return 0.0;
    }

    void WriteFile(const std::string& path, std::string_view text) {
        m_disk.Bytes(path).assign(text.begin(), text.end());
    }
    std::string FileText(const std::string& path) {
        const std::vector<uint8_t>& bytes = m_disk.Bytes(path);
        return std::string(bytes.begin(), bytes.end());
    }
    void BringExample(const std::string& name) {
        std::vector<uint8_t> bytes;
        ASSERT_TRUE(ReadWholeFile(PlatformFileSystem(),
                                  std::string(QUILLON_SOURCE_DIR) + "/examples/" + name, bytes));
        m_disk.Bytes(name) = bytes;
    }

    CTemporaryFolder m_folder{"cli"};
    CMemoryFileSystem m_disk;
    std::deque<std::string> m_typed;     // answers to come
    std::vector<std::string> m_prompts;  // questions asked
};

}  // namespace quillon
