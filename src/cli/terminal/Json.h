#pragma once

#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace quillon {

struct JsonMember;

// A document for --json: `Json row = {{"id", 7}, {"name", "Food"}};` is an object. Members
// keep the order in which they are set. Functions are called as in the standard library.
//
//   Keys    Literals: they are not copied.
//   Texts   Any bytes; those that are no UTF-8 are replaced where the document is printed.
//   Errors  at() of what is not there throws std::out_of_range, and what is asked of a value
//           of another type std::bad_variant_access.
class Json {
public:
    Json();  // null
    Json(bool value);
    template <std::integral Number>
    requires(!std::same_as<Number, bool>) Json(Number value)
        : Json(Whole{static_cast<int64_t>(value)}) {}
    Json(double value);  // one that is not finite prints as null
    Json(std::string text);
    Json(std::string_view text);
    Json(const char* text);
    template <class Value>
    Json(const std::vector<Value>& values) : Json(array()) {
        for (const Value& value : values) push_back(value);
    }
    Json(std::initializer_list<JsonMember> members);
    static Json array(std::initializer_list<Json> values = {});

    // Out of line, so that the many who include this do not compile them.
    ~Json();
    Json(const Json& other);
    Json(Json&& other) noexcept;
    Json& operator=(const Json& other);
    Json& operator=(Json&& other) noexcept;

    bool is_boolean() const;
    bool is_string() const;
    // bool or std::string.
    template <class Value>
    const Value& get() const;

    // --- an array; null becomes one
    void push_back(Json value);
    const Json& at(size_t index) const;
    const Json* begin() const;
    const Json* end() const;

    // --- an object; null becomes one
    Json& operator[](const char* key);
    const Json& at(std::string_view key) const;

    // Values of an array or object, 0 for null, 1 for anything else.
    size_t size() const;
    bool empty() const { return size() == 0; }

    // As text: on one line, or with each value on its own, that many blanks further in.
    std::string dump(int indent = -1) const;

private:
    struct Whole {
        int64_t value;
    };
    using Array = std::vector<Json>;
    using Object = std::vector<JsonMember>;
    struct Print;

    explicit Json(Whole whole);

    std::variant<std::monostate, bool, int64_t, double, std::string, Array, Object> m_value;
};

struct JsonMember {
    const char* key = "";
    mutable Json value{};  // moved out of lists, whose elements are const
};

template <>
const bool& Json::get<bool>() const;
template <>
const std::string& Json::get<std::string>() const;

}  // namespace quillon
