#include "foundation/VLStringManager.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace quillon {
namespace {

using Bytes = std::vector<uint8_t>;
using namespace std::string_literals;

TEST(VLStringManager, StoredTextIsUtf8AndOneZero) {
    const struct {
        CKeelString text;
        Bytes bytes;
    } rows[] = {
        {"", {0}},
        {"ab", {'a', 'b', 0}},
        {"é", {0xC3, 0xA9, 0}},
        {CKeelString(u"é€"), {0xC3, 0xA9, 0xE2, 0x82, 0xAC, 0}},
        {CKeelString(u"😀"), {0xF0, 0x9F, 0x98, 0x80, 0}},
        {"\xFF", {0xFF, 0}},  // not for us to change
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text.ToUtf8());
        EXPECT_EQ(CVLStringManager::Serialise(row.text), row.bytes);
        CKeelString back("before");
        EXPECT_TRUE(CVLStringManager::Deserialise(row.bytes, back));
        EXPECT_FALSE(back.IsWide());
        EXPECT_EQ(back, row.text.ToUtf8());
    }
    EXPECT_EQ(CVLStringManager::Serialise("a\0b"s), (Bytes{'a', 0}));
}

TEST(VLStringManager, RefusesBytesThatAreNoText) {
    for (const Bytes& bytes : {Bytes{}, Bytes{'a'}, Bytes{'a', 0, 0}, Bytes{'a', 0, 'b', 0}}) {
        CKeelString text("kept");
        EXPECT_FALSE(CVLStringManager::Deserialise(bytes, text));
        EXPECT_EQ(text, "kept");
    }
}

std::vector<std::string> Texts(const CVLStringManager& list) {
    std::vector<std::string> texts;
    for (const CKeelString& text : list) texts.push_back(text.ToUtf8());
    return texts;
}

TEST(VLStringManager, SplitAndJoin) {
    const struct {
        const char* text;
        const char* separator;
        std::vector<std::string> pieces;
    } rows[] = {
        {"a,b,c", ",", {"a", "b", "c"}},
        {",a,,", ",", {"", "a", "", ""}},
        {"", ",", {""}},
        {"a::b:c", "::", {"a", "b:c"}},
        {"abc", "", {"abc"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        CVLStringManager list;
        list.Split(row.text, row.separator);
        EXPECT_EQ(Texts(list), row.pieces);
        EXPECT_EQ(list.Join(row.separator), row.text);
    }
    EXPECT_EQ(CVLStringManager().Join(","), "");
}

TEST(VLStringManager, KeepsAnOrdinaryList) {
    CVLStringManager list;
    list.Add("b");
    EXPECT_TRUE(list.Insert(0, "É"));
    EXPECT_TRUE(list.Insert(2, CKeelString(u"a")));
    EXPECT_FALSE(list.Insert(4, "x"));
    list.Add("");
    EXPECT_EQ(Texts(list), (std::vector<std::string>{"É", "b", "a", ""}));
    EXPECT_EQ(list.Find("a"), 2);
    EXPECT_EQ(list.Find("é"), -1);
    EXPECT_EQ(list.Find("é", true), 0);
    list.Sort();
    EXPECT_EQ(Texts(list), (std::vector<std::string>{"", "a", "b", "É"}));
    EXPECT_TRUE(list.Set(2, "B"));
    list.Add("A");
    list.Sort(true);
    EXPECT_EQ(Texts(list), (std::vector<std::string>{"", "a", "A", "B", "É"}));
    EXPECT_TRUE(list.Remove(1));
    EXPECT_FALSE(list.Remove(4));
    EXPECT_FALSE(list.Set(4, "x"));
    EXPECT_EQ(list.At(1), "A");
    EXPECT_EQ(list.At(99), "");
    EXPECT_EQ(list.Count(), 4U);
}

}  // namespace
}  // namespace quillon
