#pragma once

#include <string>

#include "cli/CommandLine.h"
#include "cli/terminal/Json.h"
#include "settings/SettingsFile.h"

namespace quillon {

// What all commands share while one of them runs.
class CCommandContext {
public:
    explicit CCommandContext(CommandLineHost& host) : m_host(host), m_settings(host.settings) {}

    CommandLineHost& Host() { return m_host; }
    CSettingsFile& Settings() { return m_settings; }
    bool WantsJson() const { return json; }

    // The database's folder: the option, else the settings, else the default name.
    std::string DatabaseFolder() const;
    // The first line of --password-file, or what the user types at `prompt`.
    std::string ReadPassword(const std::string& prompt);
    // First line of a file. Fails when it cannot be read or the line is empty.
    std::string ReadPasswordFile(const std::string& path);

    // --- results. One of the two makes the command's standard output.
    void Print(const Json& document);
    void Say(const std::string& line);
    // Something to know beside the result: for people behind it, else on standard error.
    void Note(const std::string& text);

    // Set by the parser.
    std::string database;
    std::string passwordFile;
    bool json = false;

private:
    CommandLineHost& m_host;
    CSettingsFile m_settings;
};

}  // namespace quillon
