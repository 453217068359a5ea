#include "cli/CommandContext.h"

#include <span>

#include "cli/terminal/Failure.h"
#include "finance/startup/StartUp.h"

namespace quillon {

namespace {

constexpr int64_t kLongestPasswordFile = 65'536;

}  // namespace

std::string CCommandContext::DatabaseFolder() const {
    return database.empty() ? CStartUp::ConfiguredFolder(m_settings) : database;
}

std::string CCommandContext::ReadPasswordFile(const std::string& path) {
    const std::unique_ptr<CFile> file = m_host.files.Open(path, OpenMode::Read);
    if (!file) {
        throw CFailure("The password file " + Quoted(path) +
                       " cannot be read; check its path and permissions.");
    }
    // Only the first line counts, so a huge file need not be read.
    std::vector<uint8_t> bytes(static_cast<size_t>(kLongestPasswordFile));
    const int64_t read = file->ReadAt(0, bytes);
    if (read < 0) throw CFailure("The password file " + Quoted(path) + " cannot be read.");
    std::string line(bytes.begin(), bytes.begin() + read);
    line.resize(std::min(line.find_first_of(std::string_view("\r\n\0", 3)), line.size()));
    if (line.empty()) {
        throw CFailure("The first line of the password file " + Quoted(path) +
                       " is empty; it must hold the password.");
    }
    return line;
}

std::string CCommandContext::ReadPassword(const std::string& prompt) {
    if (!passwordFile.empty()) return ReadPasswordFile(passwordFile);
    std::string password;
    if (!m_host.readPassword || !m_host.readPassword(prompt, password)) {
        throw CFailure(
            "A password is needed and there is no terminal to ask on; give it with "
            "--password-file FILE.");
    }
    if (password.empty()) throw CFailure("No password was entered; nothing was done.");
    return password;
}

void CCommandContext::Print(const Json& document) {
    m_host.out << document.dump(2) << '\n';
}

void CCommandContext::Say(const std::string& line) {
    m_host.out << line << '\n';
}

void CCommandContext::Note(const std::string& text) {
    if (json) {
        m_host.err << "note: " << text << '\n';
    } else {
        m_host.out << text << '\n';
    }
}

}  // namespace quillon
