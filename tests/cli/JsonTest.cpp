#include "cli/terminal/Json.h"

#include <gtest/gtest.h>

#include <limits>
#include <nlohmann/json.hpp>

namespace quillon {
namespace {

using Library = nlohmann::ordered_json;

std::string LibraryDump(const Library& document, int indent) {
    return document.dump(indent, ' ', false, Library::error_handler_t::replace);
}

TEST(Json, PrintsAsTheLibraryDoes) {
    const std::string texts[] = {"",
                                 "plain",
                                 "quote\" and \\ and /",
                                 std::string("zero\0 byte", 10),
                                 "\b\f\n\r\t\x01\x1f\x7f",
                                 "Jürgen 東京 \U0001F600",
                                 "cut \xC3",
                                 "\xFF in front",
                                 "\xE2\x28\xA1 in the middle \xED\xA0\x80",
                                 "overlong \xC0\x80\x80"};
    const double numbers[] = {0.0,
                              -0.0,
                              1.0,
                              0.1,
                              0.1 + 0.2,
                              -12.5,
                              1e15,
                              1e16,
                              123456789012345680.0,
                              1e-4,
                              1e-5,
                              5e-324,
                              std::numeric_limits<double>::max(),
                              1.0 / 3.0,
                              9007199254740993.0,
                              std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::quiet_NaN()};
    const int64_t wholes[] = {0, -1, 7, std::numeric_limits<int64_t>::min(),
                              std::numeric_limits<int64_t>::max()};
    Json ours = Json::array();
    Library theirs = Library::array();
    const auto add = [&](auto value) {
        ours.push_back(value);
        theirs.push_back(value);
    };
    for (const std::string& text : texts) add(text);
    for (const double number : numbers) add(number);
    for (const int64_t whole : wholes) add(whole);
    add(true);
    add(false);
    add(std::vector<int32_t>{4, 5});
    add(std::vector<std::string>{});
    ours.push_back(Json());
    theirs.push_back(nullptr);
    ours.push_back({{"id", 7}, {"inner", {{"empty", Json::array()}, {"name", "Food"}}}});
    theirs.push_back({{"id", 7}, {"inner", {{"empty", Library::array()}, {"name", "Food"}}}});
    ours.push_back(Json(std::initializer_list<JsonMember>{}));
    theirs.push_back(Library::object());
    for (const int indent : {-1, 0, 2}) EXPECT_EQ(ours.dump(indent), LibraryDump(theirs, indent));
    ASSERT_EQ(ours.size(), theirs.size());
    for (size_t i = 0; i < ours.size(); ++i) {
        EXPECT_EQ(ours.at(i).dump(2), LibraryDump(theirs.at(i), 2)) << i;
    }
}

TEST(Json, MembersKeepTheirOrderAndAreSetOnce) {
    Json row = {{"z", 1}, {"a", "text"}};
    row["m"] = true;
    row["z"] = 2.5;
    EXPECT_EQ(row.dump(), R"({"z":2.5,"a":"text","m":true})");
    EXPECT_EQ(row.at("a").get<std::string>(), "text");
    EXPECT_TRUE(row.at("a").is_string());
    EXPECT_TRUE(row.at("m").is_boolean() && row.at("m").get<bool>());
    EXPECT_THROW(row.at("b"), std::out_of_range);
    EXPECT_THROW(row.push_back(1), std::bad_variant_access);
}

TEST(Json, ACopyIsItsOwn) {
    Json rows = Json::array({Json{{"id", 1}}, Json{{"id", 2}}});
    const Json copy = rows;
    rows.push_back(Json{{"id", 3}});
    const Json moved = std::move(rows);
    EXPECT_EQ(copy.dump(), R"([{"id":1},{"id":2}])");
    EXPECT_EQ(moved.dump(), R"([{"id":1},{"id":2},{"id":3}])");
    EXPECT_EQ(moved.end() - moved.begin(), 3);
    EXPECT_TRUE(Json().empty() && Json::array().empty() && !moved.empty());
}

}  // namespace
}  // namespace quillon
