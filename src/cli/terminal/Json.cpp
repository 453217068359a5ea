#include "cli/terminal/Json.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>

namespace quillon {

namespace {

// Most texts need no escapes; of the others, and of numbers with a fraction, the library
// knows the rules.
std::string LibraryText(const nlohmann::json& value) {
    return value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string QuotedText(std::string_view text) {
    const bool plain = std::all_of(text.begin(), text.end(), [](char character) {
        return character >= 0x20 && character < 0x7F && character != '"' && character != '\\';
    });
    return plain ? '"' + std::string(text) + '"' : LibraryText(text);
}

// Values between two brackets. Without `indent`, -1, all of it stands on one line.
class CPrinter {
public:
    explicit CPrinter(int indent) : m_indent(indent) {}

    void Open(char bracket) {
        m_text += bracket;
        ++m_level;
        m_isFirst = true;
    }
    void Next() {
        if (!m_isFirst) m_text += ',';
        m_isFirst = false;
        NewLine();
    }
    void Close(char bracket) {
        --m_level;
        if (!m_isFirst) NewLine();
        m_text += bracket;
        m_isFirst = false;
    }
    void Key(const char* key) { m_text += QuotedText(key) + (m_indent < 0 ? ":" : ": "); }
    void Text(std::string_view text) { m_text += text; }
    std::string Take() { return std::move(m_text); }

private:
    void NewLine() {
        if (m_indent < 0) return;
        m_text += '\n';
        m_text.append(m_level * static_cast<size_t>(m_indent), ' ');
    }

    std::string m_text;
    int m_indent;
    size_t m_level = 0;
    bool m_isFirst = true;  // nothing stands behind the last bracket yet
};

}  // namespace

// What each type of value prints.
struct Json::Print {
    CPrinter& printer;

    void operator()(std::monostate /*null*/) const { printer.Text("null"); }
    void operator()(bool value) const { printer.Text(value ? "true" : "false"); }
    void operator()(int64_t value) const { printer.Text(std::to_string(value)); }
    void operator()(double value) const { printer.Text(LibraryText(value)); }
    void operator()(const std::string& text) const { printer.Text(QuotedText(text)); }
    void operator()(const Array& values) const {
        printer.Open('[');
        for (const Json& value : values) {
            printer.Next();
            std::visit(*this, value.m_value);
        }
        printer.Close(']');
    }
    void operator()(const Object& members) const {
        printer.Open('{');
        for (const JsonMember& member : members) {
            printer.Next();
            printer.Key(member.key);
            std::visit(*this, member.value.m_value);
        }
        printer.Close('}');
    }
};

Json::Json() = default;
Json::Json(bool value) : m_value(value) {}
Json::Json(Whole whole) : m_value(whole.value) {}
Json::Json(double value) : m_value(value) {}
Json::Json(std::string text) : m_value(std::move(text)) {}
Json::Json(std::string_view text) : m_value(std::string(text)) {}
Json::Json(const char* text) : m_value(std::string(text)) {}

Json::Json(std::initializer_list<JsonMember> members) : m_value(Object()) {
    auto& object = std::get<Object>(m_value);
    object.reserve(members.size());
    for (const JsonMember& member : members) {
        object.push_back({member.key, std::move(member.value)});
    }
}

Json Json::array(std::initializer_list<Json> values) {
    Json json;
    json.m_value = Array(values);
    return json;
}

Json::~Json() = default;
Json::Json(const Json& other) = default;
Json::Json(Json&& other) noexcept = default;
Json& Json::operator=(const Json& other) = default;
Json& Json::operator=(Json&& other) noexcept = default;

bool Json::is_boolean() const {
    return std::holds_alternative<bool>(m_value);
}

bool Json::is_string() const {
    return std::holds_alternative<std::string>(m_value);
}

template <>
const bool& Json::get<bool>() const {
    return std::get<bool>(m_value);
}

template <>
const std::string& Json::get<std::string>() const {
    return std::get<std::string>(m_value);
}

void Json::push_back(Json value) {
    if (std::holds_alternative<std::monostate>(m_value)) m_value = Array();
    std::get<Array>(m_value).push_back(std::move(value));
}

const Json& Json::at(size_t index) const {
    return std::get<Array>(m_value).at(index);
}

const Json* Json::begin() const {
    return std::get<Array>(m_value).data();
}

const Json* Json::end() const {
    return begin() + size();
}

Json& Json::operator[](const char* key) {
    if (std::holds_alternative<std::monostate>(m_value)) m_value = Object();
    auto& object = std::get<Object>(m_value);
    for (JsonMember& member : object) {
        if (std::string_view(member.key) == key) return member.value;
    }
    JsonMember& added = object.emplace_back();
    added.key = key;
    return added.value;
}

const Json& Json::at(std::string_view key) const {
    for (const JsonMember& member : std::get<Object>(m_value)) {
        if (member.key == key) return member.value;
    }
    throw std::out_of_range("no member " + std::string(key));
}

size_t Json::size() const {
    if (const auto* const values = std::get_if<Array>(&m_value)) return values->size();
    if (const auto* const members = std::get_if<Object>(&m_value)) return members->size();
    return std::holds_alternative<std::monostate>(m_value) ? 0 : 1;
}

std::string Json::dump(int indent) const {
    CPrinter printer(indent);
    std::visit(Print{printer}, m_value);
    return printer.Take();
}

}  // namespace quillon
