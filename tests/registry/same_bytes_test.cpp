// A registry file that is written on one host is read on every other, and has the same bytes wherever it is
// written.

#include <gtest/gtest.h>

#include <utility>

#include "registry/registry_fixture.h"

namespace tavtest {
namespace {

// Every type of value, with numbers whose bytes are all different and bytes with and without the highest bit;
// names with that bit, which makes a character negative on some hosts.
const std::string file =
    "[Software\\]\n"
    "Text=\"caf\xc3\xa9 \\\"x\\\" C:\\\\\"\n"
    "Number=16909060\n"
    "Greatest=4294967295\n"
    "Highest=2147483648\n"
    "Texts='one''it\\'s''\xff\x80'\n"
    "Bytes=$0180FF7F\n"
    "na\xefve\xff=2\n"
    "[Software\\B\xe9low\\]\n"
    "Number=1\n";

/// The four bytes of a number, as a program on this host has them.
std::string number(std::uint32_t value) {
  return {reinterpret_cast<const char*>(&value), sizeof value};
}

using NamedValue = std::pair<std::string, Value>;

const std::vector<NamedValue> values{
    {"Text", {1, zeroed("caf\xc3\xa9 \"x\" C:\\\0")}},
    {"Number", {4, number(0x01020304)}},
    {"Greatest", {4, number(0xFFFFFFFF)}},
    {"Highest", {4, number(0x80000000)}},
    {"Texts", {7, zeroed("one\0it's\0\xff\x80\0\0")}},
    {"Bytes", {3, "\x01\x80\xFF\x7F"}},
    {"na\xefve\xff", {4, number(2)}},
};

class SameBytes : public RegistryTest {};

}  // namespace

TEST_F(SameBytes, AreWrittenOnEveryHost) {
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("Software", 1, REGISTRY_ACCESS_WRITE, nullptr), 1);
  for (const auto& [name, value] : values) {
    const auto* data = reinterpret_cast<const unsigned char*>(value.bytes.data());
    ASSERT_EQ(key.SetValue(name.c_str(), value.type, static_cast<unsigned>(value.bytes.size()), data), 1);
  }
  TestKey below(path);
  ASSERT_EQ(below.LoadKey("Software\\B\xe9low", 1, REGISTRY_ACCESS_WRITE, nullptr), 1);
  const std::string one = number(1);
  ASSERT_EQ(below.SetValue("Number", 4, 4, reinterpret_cast<const unsigned char*>(one.data())), 1);
  EXPECT_EQ(content(), file);
}

TEST_F(SameBytes, AreReadOnEveryHost) {
  write(file);
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("Software", 0, 0, nullptr), 1);
  for (const auto& [name, expected] : values) {
    const auto value = find_value(key, name);
    ASSERT_TRUE(value.has_value()) << name;
    EXPECT_EQ(value->type, expected.type) << name;
    const std::string more(expected.type == 7 ? 1 : 0, '\0');  // a list counts one byte more
    EXPECT_EQ(value->bytes, expected.bytes + more) << name;
  }
  EXPECT_EQ(child_names(key), Names{"B\xe9low"});
}

}  // namespace tavtest
