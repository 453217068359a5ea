#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>

#include "cli/CommandLine.h"
#include "settings/SettingsFile.h"

namespace quillon {

// Keys keep the order in which they are set.
using Json = nlohmann::ordered_json;

// An option that tells whether it was given, the empty text included.
struct TextOption {
    std::string value;
    const CLI::Option* option = nullptr;
    bool Given() const { return option && option->count() > 0; }
};

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
    std::function<void()> work;

private:
    CommandLineHost& m_host;
    CSettingsFile m_settings;
};

// --- for registering commands
// An option with a text, remembered in `text`.
inline CLI::Option* AddText(CLI::App* command, const std::string& name, TextOption& text,
                            const std::string& help) {
    CLI::Option* const option = command->add_option(name, text.value, help);
    text.option = option;
    return option;
}

}  // namespace quillon
