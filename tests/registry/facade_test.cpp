#include <gtest/gtest.h>
#include <tavlib/registry/registry.h>

#include "registry/registry_fixture.h"

namespace tavtest {
namespace {

class Facade : public RegistryTest {
 protected:
  Facade() {
    write(
        "top=1\n[A]\nnumber=4294967295\ndigits=\"42\"\nletters=\"x\"\ntext=\"a\\\"b\"\nlist='one''two'\n"
        "bytes=$3432\nempty=$\nsigned=\"-1\"\nlarge=\"4294967338\"\nzero=\"010\"\nhex=\"0x1F\"\n"
        "zeroline=010\nhexline=0x1F\n[A\\Child]\n[A\\Other]\n");
  }
  ~Facade() override { ARegKeyFileClose(root); }

  ARegistryKey* root{ARegKeyFile(path.c_str())};
  Registry registry{root};
};

struct OpenFacade : Registry {
  using Registry::current;
  using Registry::handle;
  using Registry::Registry;
  using Registry::root;
};

TEST_F(Facade, HasItsFieldsInOrderAndAVirtualDestructor) {
  OpenFacade facade(root);
  EXPECT_LT(&facade.current, &facade.root);
  EXPECT_LT(static_cast<void*>(&facade.root), static_cast<void*>(&facade.handle));
  EXPECT_EQ(facade.root, root);
  EXPECT_TRUE(std::has_virtual_destructor_v<Registry>);
  EXPECT_TRUE(std::has_virtual_destructor_v<ARegistry>);
}

TEST_F(Facade, StartsClosed) {
  EXPECT_EQ(registry.GetKey(), nullptr);
}

TEST_F(Facade, OpensAKey) {
  EXPECT_EQ(registry.Open("A", 1), 1);
  EXPECT_NE(registry.GetKey(), nullptr);
  EXPECT_EQ(registry.Open(std::string("A\\Child"), 1), 1);
  EXPECT_NE(registry.GetKey(), nullptr);
  EXPECT_TRUE(fails_with(13, [&] { return registry.SetValue("v", "x"); }));
}

TEST_F(Facade, OpensWithTheAccessAskedForAndCreatesNothing) {
  const std::string before = content();
  EXPECT_TRUE(fails_with(2, [&] { return registry.Open("New", 3); }));
  EXPECT_TRUE(fails_with(2, [&] { return registry.Open(std::string("New"), 3); }));
  EXPECT_EQ(content(), before);
  ASSERT_EQ(registry.Open("A\\Child", 2), 1);
  EXPECT_EQ(registry.SetValue("v", "x"), 1);
  ASSERT_EQ(registry.Open(std::string("A\\Other"), 2), 1);
  EXPECT_EQ(registry.SetValue("v", "y"), 1);
  EXPECT_TRUE(content().ends_with("[A\\Child\\]\nv=\"x\"\n[A\\Other\\]\nv=\"y\"\n"));
}

TEST_F(Facade, OpensTheTopOfTheFileForAnEmptyString) {
  ASSERT_EQ(registry.Open(std::string(), 1), 1);
  unsigned value = 0;
  EXPECT_EQ(registry.QueryValue("top", value), 1);
  EXPECT_EQ(value, 1U);
}

TEST_F(Facade, HasNoKeyAfterAFailedOpen) {
  ASSERT_EQ(registry.Open("A", 1), 1);
  EXPECT_TRUE(fails_with(2, [&] { return registry.Open("None", 1); }));
  EXPECT_EQ(registry.GetKey(), nullptr);
  EXPECT_TRUE(fails_with(14, [&] { return registry.Open(nullptr, 1); }));
}

TEST_F(Facade, HasNoKeyWhenClosed) {
  ASSERT_EQ(registry.Open("A", 1), 1);
  registry.Close();
  EXPECT_EQ(registry.GetKey(), nullptr);
}

TEST_F(Facade, ClosesItsHandle) {
  ASSERT_EQ(registry.Open("A", 3), 1);
  registry.Close();
  unsigned number = 7;
  std::string text = "old";
  EXPECT_TRUE(fails_with(14, [&] { return registry.QueryValue("number", number); }));
  EXPECT_TRUE(fails_with(14, [&] { return registry.QueryValue("text", text); }));
  EXPECT_TRUE(fails_with(14, [&] { return registry.SetValue("text", "x"); }));
  EXPECT_TRUE(fails_with(14, [&] { return registry.EnumKey(0, text); }));
  EXPECT_EQ(number, 7U);
  EXPECT_EQ(text, "old");
}

TEST_F(Facade, CreatesWithWriteAccessAllTheSame) {
  ASSERT_EQ(registry.Create("New", 1), 1);
  EXPECT_NE(registry.GetKey(), nullptr);
  EXPECT_TRUE(content().ends_with("[New\\]\n"));
  EXPECT_EQ(registry.SetValue("v", "x"), 1);
  EXPECT_TRUE(content().ends_with("[New\\]\nv=\"x\"\n"));
  EXPECT_EQ(registry.Create("A", 0), 1);
  EXPECT_EQ(registry.SetValue("v", "x"), 1);
}

TEST_F(Facade, HasNoKeyAfterAFailedCreate) {
  ASSERT_EQ(registry.Open("A", 1), 1);
  EXPECT_TRUE(fails_with(14, [&] { return registry.Create(nullptr, 3); }));
  EXPECT_EQ(registry.GetKey(), nullptr);
}

struct Number {
  const char* name;
  unsigned value;

  friend void PrintTo(const Number& tested, std::ostream* out) { *out << tested.name; }
};

class FacadeNumber : public Facade, public testing::WithParamInterface<Number> {};

TEST_P(FacadeNumber, IsRead) {
  ASSERT_EQ(registry.Open("A", 1), 1);
  unsigned value = 7;
  EXPECT_EQ(registry.QueryValue(GetParam().name, value), 1);
  EXPECT_EQ(value, GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(Of, FacadeNumber,
                         testing::Values(Number{"number", 4294967295U}, Number{"digits", 42},
                                         Number{"letters", 0}, Number{"bytes", 42}, Number{"empty", 0},
                                         Number{"list", 0}, Number{"signed", 4294967295U},
                                         Number{"large", 42}, Number{"zero", 10}, Number{"hex", 0},
                                         Number{"zeroline", 10}, Number{"hexline", 0}),
                         case_name<Number>);

TEST_F(Facade, ReadsTexts) {
  ASSERT_EQ(registry.Open("A", 1), 1);
  std::string value = "old";
  EXPECT_EQ(registry.QueryValue("text", value), 1);
  EXPECT_EQ(value, "a\"b");
  EXPECT_EQ(registry.QueryValue("list", value), 1);
  EXPECT_EQ(value, "one");
  EXPECT_EQ(registry.QueryValue("bytes", value), 1);  // Two bytes without a terminator.
  EXPECT_EQ(value, "42");
  EXPECT_EQ(registry.QueryValue("empty", value), 1);
  EXPECT_EQ(value, "");
}

TEST_F(Facade, ReadsNothingThatIsNotThere) {
  ASSERT_EQ(registry.Open("A", 1), 1);
  unsigned number = 7;
  std::string text = "old";
  EXPECT_TRUE(fails_with(2, [&] { return registry.QueryValue("none", number); }));
  EXPECT_TRUE(fails_with(2, [&] { return registry.QueryValue("none", text); }));
  EXPECT_TRUE(fails_with(14, [&] { return registry.QueryValue(nullptr, number); }));
  EXPECT_TRUE(fails_with(14, [&] { return registry.QueryValue(nullptr, text); }));
  EXPECT_EQ(number, 7U);
  EXPECT_EQ(text, "old");
}

TEST_F(Facade, DoesNotReadANumberOfAnotherSizeThanFour) {
  ASSERT_EQ(registry.Create("A", 3), 1);
  const unsigned char bytes[8] = {42, 0, 0, 0, 0, 0, 0, 0};
  unsigned number = 7;
  ASSERT_EQ(registry.GetKey()->SetValue("wide", REG_DWORD, 8, bytes), 1);
  EXPECT_TRUE(fails_with(79, [&] { return registry.QueryValue("wide", number); }));
  EXPECT_EQ(number, 7U);
  ASSERT_EQ(registry.GetKey()->SetValue("none", REG_DWORD, 0, bytes), 1);
  EXPECT_EQ(registry.QueryValue("none", number), 1);
  EXPECT_EQ(number, 0U);
}

TEST_F(Facade, StoresATextWithItsTerminator) {
  ASSERT_EQ(registry.Create("New", 3), 1);
  ASSERT_EQ(registry.SetValue("v", "a\\b"), 1);
  EXPECT_EQ(find_value(*registry.GetKey(), "v"), (Value{REG_SZ, zeroed("a\\b\0")}));
  EXPECT_TRUE(content().ends_with("[New\\]\nv=\"a\\\\b\"\n"));
  ASSERT_EQ(registry.SetValue("v", zeroed("a\0b")), 1);
  EXPECT_EQ(find_value(*registry.GetKey(), "v"), (Value{REG_SZ, zeroed("a\0b\0")}));
  EXPECT_TRUE(content().ends_with("[New\\]\nv=\"a\"\n"));
}

TEST_F(Facade, NamesTheChildren) {
  ASSERT_EQ(registry.Open("A", 1), 1);
  std::string name;
  EXPECT_EQ(registry.EnumKey(0, name), 1);
  EXPECT_EQ(name, "Child");
  EXPECT_EQ(registry.EnumKey(1, name), 1);
  EXPECT_EQ(name, "Other");
  EXPECT_TRUE(fails_with(2, [&] { return registry.EnumKey(2, name); }));
  EXPECT_EQ(name, "Other");
}

TEST_F(Facade, DoesNotDelete) {
  ASSERT_EQ(registry.Create("A", 3), 1);
  const std::string before = content();
  EXPECT_EQ(registry.DeleteValue("number"), 0);
  EXPECT_EQ(registry.DeleteKey("Child"), 0);
  EXPECT_EQ(content(), before);
  unsigned value = 0;
  EXPECT_EQ(registry.QueryValue("number", value), 1);
  EXPECT_EQ(value, 4294967295U);
}

TEST_F(Facade, DoesNotCrashWhenClosed) {
  unsigned number = 0;
  std::string text;
  EXPECT_TRUE(fails_with(14, [&] { return registry.QueryValue("v", number); }));
  EXPECT_TRUE(fails_with(14, [&] { return registry.QueryValue("v", text); }));
  EXPECT_TRUE(fails_with(14, [&] { return registry.SetValue("v", text); }));
  EXPECT_TRUE(fails_with(14, [&] { return registry.EnumKey(0, text); }));
}

}  // namespace
}  // namespace tavtest
