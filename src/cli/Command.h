#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quillon {

class CCommandContext;

// The commands as data: what there is to type and what runs then. Parser.cpp makes a parser
// of it, commands/*.cpp say what there is.

// --- what was typed

// A text, and whether it was given, the empty one included.
struct TextOption {
    std::string value;
    bool given = false;
    bool Given() const { return given; }
};

struct NumberOption {
    int64_t value = 0;
    bool given = false;
    bool Given() const { return given; }
};

struct OptionValue {
    std::string_view name;
    TextOption text;
    NumberOption number;
    std::vector<std::string> texts;
    bool flag = false;
};

// The values of a command's options by the names that they are declared with, as "account"
// or "--amount". Every option has one, given or not; asking for a name that the command
// does not declare throws std::out_of_range.
class Arguments {
public:
    explicit Arguments(const std::vector<OptionValue>& values) : m_values(values) {}

    const TextOption& Text(std::string_view name) const { return Find(name).text; }
    // The same where it does not matter whether it was given.
    const std::string& Value(std::string_view name) const { return Find(name).text.value; }
    const NumberOption& Number(std::string_view name) const { return Find(name).number; }
    const std::vector<std::string>& Texts(std::string_view name) const { return Find(name).texts; }
    bool Flag(std::string_view name) const { return Find(name).flag; }

private:
    const OptionValue& Find(std::string_view name) const;

    const std::vector<OptionValue>& m_values;
};

// --- what there is to type

// Numbers are whole; a small one has 32 bits. Texts takes several.
enum class OptionKind : uint8_t { Text, Number, SmallNumber, Texts, Flag };

struct Option {
    // "account" by its place among the arguments, "--amount" by its name.
    const char* name;
    const char* help;
    OptionKind kind = OptionKind::Text;
    bool required = false;
    // The only texts that are taken, where there are any.
    std::vector<std::string> choices{};
    bool ignoreCase = false;  // of the choices
    // What help calls the value, in place of "TEXT" and the like.
    const char* typeName = nullptr;
    // What a text is when it is not given; help shows it.
    const char* standard = nullptr;
    // Another option, declared before this one, that it cannot stand beside.
    const char* excludes = nullptr;
    // What stands between several texts in one argument; 0 for nothing.
    char delimiter = 0;
};

// "transaction add", or the group "transaction": that one has help only and stands before
// its commands. --help lists commands in the order in which they are declared.
struct Command {
    const char* path;
    const char* help;
    std::vector<Option> options{};
    // Called when the whole command line was understood. Throws CFailure.
    void (*run)(CCommandContext& context, const Arguments& given) = nullptr;

    bool IsGroup() const { return run == nullptr; }
};

}  // namespace quillon
