// The commands that change a file: set, delete, merge, import, with export as import's other half.
#include "Program.h"

namespace {

using testing::HasSubstr;

class ToolSet : public Tool {
 protected:
    // What `list` shows of a key after a set.
    std::string AfterSet(ARGUMENTS arguments, std::string const& key) const {
        arguments.insert(arguments.begin(), {"set", "s.xml"});
        EXPECT_EQ(Output(arguments), "");
        return Output({"list", "s.xml", key});
    }
};

TEST_F(ToolSet, StoresEveryType) {
    struct ROW {
        char const* type;
        char const* value;
        char const* shown;
    };
    for (auto const& row :
         {ROW{"int", "-2147483648", "int\t-2147483648"}, ROW{"int", "+7", "int\t7"}, ROW{"unsigned", "7", "int\t7"},
          ROW{"int64", "5", "int\t5"}, ROW{"int64", "-9223372036854775808", "int64\t-9223372036854775808"},
          ROW{"int64", "9223372036854775807", "int64\t9223372036854775807"},
          ROW{"uint64", "18446744073709551615", "uint64\t18446744073709551615"},
          ROW{"uint64", "9007199254740993", "int64\t9007199254740993"}, ROW{"double", "0.1", "double\t0.1"},
          ROW{"double", "-1.5e-300", "double\t-1.5e-300"}, ROW{"double", "nan", "double\tnan"},
          ROW{"double", "3", "int\t3"}, ROW{"string", "text", "string\t\"text\""}, ROW{"string", "", "string\t\"\""},
          ROW{"binstr", "bytes", "binstr\t6279746573"}, ROW{"binstr", "", "binstr\t"}}) {
        EXPECT_EQ(AfterSet({"a/b", row.value, "--type", row.type}, "a/b"), std::string("a/b\t") + row.shown + "\n")
            << row.type << " " << row.value;
    }
}

TEST_F(ToolSet, AValueThatIsNotOneOfItsTypeIsRefused) {
    for (auto const& [type, value, reason] :
         {std::tuple{"int", "4.5", "\"4.5\" is not a value of type int"},
          std::tuple{"int", "", "\"\" is not a value of type int"},
          std::tuple{"int", " 4", "\" 4\" is not a value of type int"},
          std::tuple{"int", "+-4", "\"+-4\" is not a value of type int"},
          std::tuple{"int", "2147483648", "\"2147483648\" is out of the range of type int"},
          std::tuple{"unsigned", "-1", "\"-1\" is not a value of type unsigned"},
          std::tuple{"uint64", "18446744073709551616", "\"18446744073709551616\" is out of the range of type uint64"},
          std::tuple{"double", "1,5", "\"1,5\" is not a value of type double"},
          std::tuple{"double", "1e999", "\"1e999\" is out of the range of type double"}}) {
        EXPECT_EQ(Error({"set", "s.xml", "a", value, "--type", type}), reason);
    }
    EXPECT_EQ(Error({"set", "s.xml", "a", "inf", "--type", "double"}),
              "'a': a ticket file cannot hold an infinite number");
    EXPECT_FALSE(files::Exists(m_scratch.Path("s.xml")));
}

TEST_F(ToolSet, ANewKeyIsAStringAndAnExistingOneKeepsItsType) {
    EXPECT_EQ(AfterSet({"a", "5"}, "a"), "a\tstring\t\"5\"\n");
    EXPECT_EQ(AfterSet({"b", "5", "--type", "int"}, "b"), "b\tint\t5\n");
    EXPECT_EQ(AfterSet({"b", "6"}, "b"), "b\tint\t6\n");
    EXPECT_EQ(AfterSet({"c", "A0", "--hex"}, "c"), "c\tbinstr\tA0\n");
    EXPECT_EQ(AfterSet({"c", "A0"}, "c"), "c\tbinstr\t4130\n");
    EXPECT_EQ(AfterSet({"d", "0.5", "--type", "double"}, "d"), "d\tdouble\t0.5\n");
    EXPECT_EQ(AfterSet({"d", "1e-3"}, "d"), "d\tdouble\t0.001\n");
    EXPECT_EQ(AfterSet({"e", "18446744073709551615", "--type", "uint64"}, "e"), "e\tuint64\t18446744073709551615\n");
    EXPECT_EQ(AfterSet({"e", "18446744073709551614"}, "e"), "e\tuint64\t18446744073709551614\n");
    EXPECT_EQ(Error({"set", "s.xml", "b", "text"}),
              "\"text\" is not a value of type int; 'b' is of type int, --type stores another");
    EXPECT_EQ(Error({"set", "s.xml", "b", "7.5"}),
              "\"7.5\" is not a value of type int; 'b' is of type int, --type stores another");
}

TEST_F(ToolSet, ATypeReplacesTheOldOne) {
    EXPECT_EQ(AfterSet({"a", "5"}, "a"), "a\tstring\t\"5\"\n");
    EXPECT_EQ(AfterSet({"a", "5", "--type", "int"}, "a"), "a\tint\t5\n");
}

TEST_F(ToolSet, NegativeNumbersNeedNoDashesBeforeThem) {
    EXPECT_EQ(AfterSet({"a", "-5", "--type", "int"}, "a"), "a\tint\t-5\n");
    EXPECT_EQ(AfterSet({"--type", "double", "b", "-0.25"}, "b"), "b\tdouble\t-0.25\n");
    EXPECT_EQ(AfterSet({"b", "-.5"}, "b"), "b\tdouble\t-0.5\n");
    EXPECT_EQ(AfterSet({"b", "-2.5e-3"}, "b"), "b\tdouble\t-0.0025\n");
    EXPECT_EQ(AfterSet({"a", "--type", "int", "--", "-6"}, "a"), "a\tint\t-6\n");
    EXPECT_EQ(AfterSet({"c", "--", "--text"}, "c"), "c\tstring\t\"--text\"\n");
}

TEST_F(ToolSet, ValuesThatLookLikeSomethingElseAreTakenAsTheyAre) {
    for (std::string const value : {"", "%%", "{}", "[1,2]", "list", "a\\x20b", "a  b", "\t\n", "<a>\"'", "\xC3\xA9",
                                    "\xFF\xFE", "++", "[]", "[", "\x01x", "1.#QNAN", "\\"}) {
        EXPECT_EQ(Output({"set", "s.xml", "k", value}), "") << value;
        EXPECT_EQ(Output({"get", "s.xml", "k"}), value + "\n");
    }
}

TEST_F(ToolSet, AnIndexReplacesAnElementOrAppendsAtTheEnd) {
    EXPECT_EQ(AfterSet({"v", "1", "--type", "int", "--index", "0"}, "v"), "v\tint\t1\n");
    EXPECT_EQ(AfterSet({"v", "2", "--index", "1"}, "v"), "v[0]\tint\t1\nv[1]\tint\t2\n");
    EXPECT_EQ(AfterSet({"v", "x", "--index", "0", "--type", "string"}, "v"), "v[0]\tstring\t\"x\"\nv[1]\tint\t2\n");
    EXPECT_EQ(AfterSet({"v", "3", "--index", "1"}, "v"), "v[0]\tstring\t\"x\"\nv[1]\tint\t3\n");
    EXPECT_EQ(Error({"set", "s.xml", "v", "4", "--index", "3"}), "s.xml: 'v' has no element 3");
    EXPECT_EQ(Error({"set", "s.xml", "new", "4", "--index", "1"}), "s.xml: 'new' has no element 1");
    EXPECT_EQ(Error({"set", "s.xml", "v", "4", "--index", "-1"}),
              "--index: '-1' is not a whole number from 0 to 999999999");
    EXPECT_EQ(Output({"list", "s.xml"}), "v[0]\tstring\t\"x\"\nv[1]\tint\t3\n");
    EXPECT_EQ(AfterSet({"v", "4", "--type", "int"}, "v"), "v\tint\t4\n");
}

TEST_F(ToolSet, AppendMakesAVectorGrow) {
    EXPECT_EQ(AfterSet({"v", "1", "--type", "int", "--append"}, "v"), "v\tint\t1\n");
    EXPECT_EQ(AfterSet({"v", "2", "--append"}, "v"), "v[0]\tint\t1\nv[1]\tint\t2\n");
    EXPECT_EQ(AfterSet({"v", "z", "--append", "--type", "string"}, "v"),
              "v[0]\tint\t1\nv[1]\tint\t2\nv[2]\tstring\t\"z\"\n");
    EXPECT_THAT(Error({"set", "s.xml", "v", "1", "--append", "--index", "0"}), HasSubstr("--append"));
}

TEST_F(ToolSet, BytesComeInHexadecimalOrFromAFile) {
    Write("bytes", std::string("\0\n<\xFF", 4));
    EXPECT_EQ(AfterSet({"a", "00fF0a", "--hex"}, "a"), "a\tbinstr\t00FF0A\n");
    EXPECT_EQ(AfterSet({"a", "", "--hex"}, "a"), "a\tbinstr\t\n");
    EXPECT_EQ(AfterSet({"a", "--from-file", "bytes"}, "a"), "a\tbinstr\t000A3CFF\n");
    EXPECT_EQ(Error({"set", "s.xml", "a", "0", "--hex"}), "an odd number of hexadecimal digits");
    EXPECT_EQ(Error({"set", "s.xml", "a", "0g", "--hex"}), "'g' is not a hexadecimal digit");
    EXPECT_EQ(Error({"set", "s.xml", "a", "00", "--hex", "--type", "int"}),
              "--hex and --from-file are for types string and binstr");
    EXPECT_THAT(Error({"set", "s.xml", "a", "00", "--hex", "--from-file", "bytes"}), HasSubstr("--from-file"));
    EXPECT_EQ(Error({"set", "s.xml", "a", "00", "--from-file", "bytes"}), "set needs either a VALUE or --from-file");
    EXPECT_EQ(Error({"set", "s.xml", "a"}), "set needs either a VALUE or --from-file");
    EXPECT_EQ(Error({"set", "s.xml", "a", "--from-file", "nothing"}),
              "nothing: cannot be read: No such file or directory");
    EXPECT_EQ(Error({"set", "s.xml", "a", "--from-file", "."}), ".: cannot be read: Is a directory");
    EXPECT_EQ(Error({"set", "s.xml", "a", "--from-file", ""}), ": cannot be read: No such file or directory");
    EXPECT_EQ(Error({"set", "s.xml", "a", "00", "--from-file", ""}), "set needs either a VALUE or --from-file");
}

TEST_F(ToolSet, BytesBecomeWhatTheKeyIsWhenTheyCanBe) {
    Write("text", "anna");
    Write("bytes", std::string("a\0b", 3));
    EXPECT_EQ(AfterSet({"a", "--from-file", "text", "--type", "string"}, "a"), "a\tstring\t\"anna\"\n");
    EXPECT_EQ(AfterSet({"a", "6F74746F", "--hex"}, "a"), "a\tstring\t\"otto\"\n");
    EXPECT_EQ(AfterSet({"a", "--from-file", "text"}, "a"), "a\tstring\t\"anna\"\n");
    EXPECT_EQ(Error({"set", "s.xml", "a", "--from-file", "bytes"}), "'a': a string cannot hold a NUL byte");
    EXPECT_EQ(AfterSet({"a", "--from-file", "bytes", "--type", "binstr"}, "a"), "a\tbinstr\t610062\n");
    EXPECT_EQ(AfterSet({"b", "5", "--type", "int"}, "b"), "b\tint\t5\n");
    EXPECT_EQ(Error({"set", "s.xml", "b", "--from-file", "text"}),
              "--hex and --from-file are for types string and binstr; 'b' is of type int, --type stores another");
}

TEST_F(ToolSet, APasswordMayComeThroughAPipe) {
    EXPECT_EQ(TicketWithInput("secret", {"set", "s.xml", "Login/Password", "--from-file", "/dev/stdin"}).code, 0);
    EXPECT_EQ(Output({"get", "s.xml", "Login/Password"}), "secret");
}

TEST_F(ToolSet, WhatWouldNotComeBackIsRefused) {
    WriteTicket("s.xml", "<a type='int'>1</a>");
    auto const before = Content("s.xml");
    for (auto const& [arguments, reason] : {
             std::pair{ARGUMENTS{"b", " x"}, "'b' (string \" x\") would come back as string \"x\""},
             std::pair{ARGUMENTS{"b", "x "}, "'b' (string \"x \") would come back as string \"x\""},
             std::pair{ARGUMENTS{"b", "&amp;"}, "'b' (string \"&amp;\") would come back as string \"&\""},
             std::pair{ARGUMENTS{"b", "-0.0", "--type", "double"}, "'b' (double -0) would come back as int 0"},
             std::pair{ARGUMENTS{"b", "5000000000", "--type", "int64"},
                       "'b' (int64 5000000000) would come back as int -2147483648"},
             std::pair{ARGUMENTS{"b", "1e300", "--type", "double"},
                       "'b' (double 1e+300) would come back as int -2147483648"},
             std::pair{ARGUMENTS{"b/ticket/c", "x"},
                       "'b/ticket/c' would be gone after a save, and 'b/c' would appear after a save as string \"x\""},
             std::pair{ARGUMENTS{"ticket/c", "x"},
                       "'ticket/c' would be gone after a save, and 'c' would appear after a save as string \"x\""},
             std::pair{
                 ARGUMENTS{"b//c", "x"},
                 "'b//c' would be gone after a save, and 'b/anonymous/c' would appear after a save as string \"x\""},
             std::pair{ARGUMENTS{"b/", "x"}, "'b/' would be gone after a save"},
             std::pair{ARGUMENTS{"", "x"}, "'' would be gone after a save"},
         }) {
        ARGUMENTS all{"set", "s.xml"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        EXPECT_EQ(Error(all), std::string("s.xml: not written: ") + reason + "; --force writes all the same");
        EXPECT_EQ(Content("s.xml"), before);
    }
}

TEST_F(ToolSet, AKeyThatNoFileCanHoldIsRefusedEvenWithForce) {
    WriteTicket("s.xml", "<a type='int'>1</a>");
    auto const before = Content("s.xml");
    for (std::string const key : {"a\"b", "a\nb", "a<b", "a/b\"/c"}) {
        for (auto const& arguments :
             {ARGUMENTS{"set", "s.xml", "--", key, "x"}, ARGUMENTS{"set", "s.xml", "--force", "--", key, "x"}}) {
            EXPECT_EQ(Error(arguments),
                      "s.xml: not written: the file would not parse any more; does a key hold <, >, \" or a line end?");
            EXPECT_EQ(Content("s.xml"), before);
        }
    }
}

TEST_F(ToolSet, ANewKeyThatNobodyPromisesToBringBackIsRefusedByEveryCommand) {
    std::string const reason =
        "s.xml: not written: 'a\\tb' holds a control byte and may not come back from a file; --force writes all the "
        "same";
    EXPECT_EQ(Error({"set", "s.xml", "a\tb", "x"}), reason);
    Write("from.xml", "<ticket>\n\t<a\tb type=\"string\">x</a\tb>\n</ticket>\n");
    EXPECT_EQ(Error({"merge", "from.xml", "s.xml"}), reason);
    auto const imported = TicketWithInput(Output({"export", "from.xml"}), {"import", "s.xml"});
    EXPECT_EQ(imported.err, "ticket: " + reason + "\n");
    EXPECT_FALSE(files::Exists(m_scratch.Path("s.xml")));
    EXPECT_THAT(Error({"set", "s.xml", "a>b", "x"}), HasSubstr("'a>b' would be gone after a save; --force"));
    EXPECT_EQ(Output({"set", "s.xml", "a\tb", "x", "--force"}), "");
    EXPECT_EQ(Output({"set", "s.xml", "a\tb", "y"}), "") << "it is there already";
    EXPECT_EQ(Output({"get", "s.xml", "a\tb"}), "y\n");
    EXPECT_THAT(Error({"set", "s.xml", "c\x7F", "x"}), HasSubstr("'c\\x7F' holds a control byte"));
}

TEST_F(ToolSet, AKeyThatIsNoXmlNameIsSetLikeAnyOther) {
    for (std::string const key : {"a b", "-a", "1a", "a/*", "Printer/HP 4000/ID"}) {
        EXPECT_EQ(Output({"set", "s.xml", "--", key, "x"}), "");
        EXPECT_EQ(Output({"get", "s.xml", "--", key}), "x\n");
    }
    EXPECT_EQ(Output({"check", "s.xml"}), "");
    EXPECT_THAT(Error({"set", "s.xml", "a<b", "x"}), HasSubstr("would not parse any more"));
}

TEST_F(ToolSet, ForceWritesAllTheSame) {
    EXPECT_EQ(Output({"set", "s.xml", "b", "x ", "--force"}), "");
    EXPECT_EQ(Output({"get", "s.xml", "b"}), "x\n");
}

TEST_F(ToolSet, AnotherKeyThatTheSaveWouldCutIsToldToo) {
    WriteTicket("s.xml", "<wide type='int64'>5000000000</wide>");
    EXPECT_EQ(Error({"set", "s.xml", "a", "x"}),
              "s.xml: not written: 'wide' (int64 5000000000) would come back as int -2147483648; "
              "--force writes all the same");
}

TEST_F(ToolSet, ALongValueIsCutInMessages) {
    auto const error = Error({"set", "s.xml", "b", std::string(100000, 'x') + " "});
    EXPECT_LT(error.size(), 300u);
}

TEST_F(ToolSet, ANewFileIsForItsOwnerOnly) {
    Output({"set", "s.xml", "a", "x"});
    EXPECT_EQ(files::Mode(m_scratch.Path("s.xml")), 0600u);
    EXPECT_EQ(Content("s.xml"),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ticket>\n\t<a type=\"string\">x</a>\n"
              "</ticket>\n");
}

class ToolDelete : public Tool {
 protected:
    ToolDelete() {
        WriteTicket("s.xml",
                    "<a><b type='int'>1</b><c type='int'>2</c></a>"
                    "<v type='int'>1</v><v type='int'>2</v><v type='int'>3</v>");
    }
};

TEST_F(ToolDelete, TakesKeysAway) {
    EXPECT_EQ(Output({"delete", "s.xml", "a/b", "v"}), "");
    EXPECT_EQ(Output({"list", "s.xml"}), "a/c\tint\t2\n");
}

TEST_F(ToolDelete, TakesOneElementAway) {
    EXPECT_EQ(Output({"delete", "s.xml", "v", "--index", "1"}), "");
    EXPECT_EQ(Output({"list", "s.xml", "v"}), "v[0]\tint\t1\nv[1]\tint\t3\n");
    EXPECT_EQ(Output({"delete", "s.xml", "v", "--index", "0"}), "");
    EXPECT_EQ(Output({"list", "s.xml", "v"}), "v\tint\t3\n");
    EXPECT_EQ(Output({"delete", "s.xml", "v", "--index", "0"}), "");
    EXPECT_EQ(Output({"list", "s.xml", "v"}), "");
}

TEST_F(ToolDelete, AKeyThatIsNotThereFailsAndNothingIsDeleted) {
    auto const before = Content("s.xml");
    EXPECT_EQ(Error({"delete", "s.xml", "v", "x"}, 1), "s.xml: no key 'x'");
    EXPECT_EQ(Error({"delete", "s.xml", "v", "--index", "3"}, 1), "s.xml: no key 'v' with element 3");
    EXPECT_EQ(Error({"delete", "s.xml", "v", "--index", "-1"}),
              "--index: '-1' is not a whole number from 0 to 999999999");
    EXPECT_EQ(Error({"delete", "s.xml", "a"}, 1), "s.xml: no key 'a'");
    EXPECT_THAT(Error({"delete", "s.xml"}), HasSubstr("KEY"));
    EXPECT_EQ(Error({"delete", "other.xml", "v"}), "other.xml: no such file");
    EXPECT_EQ(Content("s.xml"), before);
}

TEST_F(ToolDelete, AKeyInBracketsIsNoListOfKeys) {
    EXPECT_EQ(Error({"delete", "s.xml", "[a/b,v]"}, 1), "s.xml: no key '[a/b,v]'");
}

TEST_F(ToolDelete, AKeyNamedTwiceIsDeletedOnce) {
    EXPECT_EQ(Output({"delete", "s.xml", "v", "v", "--index", "0"}), "");
    EXPECT_EQ(Output({"list", "s.xml", "v"}), "v[0]\tint\t2\nv[1]\tint\t3\n");
}

TEST_F(ToolDelete, AFileWithoutValuesIsRemoved) {
    EXPECT_EQ(Output({"delete", "s.xml", "a/b", "a/c", "v"}), "");
    EXPECT_FALSE(files::Exists(m_scratch.Path("s.xml")));
}

class ToolMerge : public Tool {
 protected:
    ToolMerge() {
        WriteTicket("from.xml",
                    "<Login><User type='string'>u</User><Server type='string'>s</Server></Login>"
                    "<v type='int'>1</v><v type='double'>2.5</v>");
        WriteTicket("into.xml", "<Log><Level type='int'>3</Level></Log><v type='string'>old</v>");
    }
};

TEST_F(ToolMerge, CopiesEverythingAndKeepsTheRest) {
    EXPECT_EQ(Output({"merge", "from.xml", "into.xml"}), "");
    EXPECT_EQ(Output({"list", "into.xml"}),
              "Log/Level\tint\t3\nLogin/Server\tstring\t\"s\"\nLogin/User\tstring\t\"u\"\n"
              "v[0]\tint\t1\nv[1]\tdouble\t2.5\n");
}

TEST_F(ToolMerge, CopiesWhatIsSelected) {
    EXPECT_EQ(Output({"merge", "from.xml", "into.xml", "Login/U*", "v"}), "");
    EXPECT_EQ(Output({"list", "into.xml"}),
              "Log/Level\tint\t3\nLogin/User\tstring\t\"u\"\nv[0]\tint\t1\nv[1]\tdouble\t2.5\n");
}

TEST_F(ToolMerge, ClearEmptiesTheTargetFirst) {
    EXPECT_EQ(Output({"merge", "from.xml", "into.xml", "--clear", "Login/*"}), "");
    EXPECT_EQ(Output({"list", "into.xml"}), "Login/Server\tstring\t\"s\"\nLogin/User\tstring\t\"u\"\n");
}

TEST_F(ToolMerge, MakesTheTarget) {
    EXPECT_EQ(Output({"merge", "from.xml", "new.xml"}), "");
    EXPECT_EQ(Output({"diff", "from.xml", "new.xml"}), "");
}

TEST_F(ToolMerge, AFileMergedIntoItselfKeepsItsContent) {
    auto const before = Output({"export", "from.xml"});
    EXPECT_EQ(Output({"merge", "from.xml", "from.xml"}), "");
    EXPECT_EQ(Output({"export", "from.xml"}), before);
    EXPECT_EQ(Output({"merge", "from.xml", "from.xml", "--clear"}), "");
    EXPECT_EQ(Output({"export", "from.xml"}), before);
    EXPECT_EQ(Output({"merge", "from.xml", "from.xml", "v", "--clear"}), "");
    EXPECT_EQ(Output({"list", "from.xml", "--keys"}), "v\n");
}

TEST_F(ToolMerge, AnEmptyFileBringsNothingAndClearLeavesNothing) {
    WriteTicket("empty.xml", "");
    auto const before = Output({"export", "into.xml"});
    EXPECT_EQ(Output({"merge", "empty.xml", "into.xml"}), "");
    EXPECT_EQ(Output({"export", "into.xml"}), before);
    EXPECT_EQ(Output({"merge", "empty.xml", "into.xml", "--clear"}), "");
    EXPECT_FALSE(files::Exists(m_scratch.Path("into.xml")));
}

TEST_F(ToolMerge, AnEmptyFileMergedIntoNoneMakesNone) {
    WriteTicket("empty.xml", "");
    EXPECT_EQ(Output({"merge", "empty.xml", "new.xml"}), "");
    EXPECT_FALSE(files::Exists(m_scratch.Path("new.xml")));
}

TEST_F(ToolMerge, ASelectionOfNothingIsRefusedBeforeAnythingIsCleared) {
    auto const before = Content("into.xml");
    EXPECT_EQ(Error({"merge", "from.xml", "into.xml", "Logon/*", "--clear"}), "from.xml: no key is selected");
    EXPECT_EQ(Error({"merge", "from.xml", "into.xml", "", "--clear"}), "a selector is empty");
    EXPECT_EQ(Content("into.xml"), before);
}

TEST_F(ToolMerge, ANumberThatTheTargetCannotHoldIsRefused) {
    WriteTicket("from.xml", "<a type='int64'>5000000000</a>");
    EXPECT_THAT(Error({"merge", "from.xml", "into.xml"}),
                HasSubstr("'a' (int64 5000000000) would come back as int -2147483648"));
    EXPECT_EQ(Output({"list", "into.xml", "a"}), "");
}

TEST_F(ToolMerge, ASourceThatIsNotThereOrBrokenIsRefused) {
    Write("broken.xml", "<ticket>");
    EXPECT_EQ(Error({"merge", "none.xml", "into.xml"}), "none.xml: no such file");
    EXPECT_THAT(Error({"merge", "broken.xml", "into.xml"}), HasSubstr("broken.xml:1:"));
}

class ToolExport : public Tool {};
class ToolImport : public Tool {};

TEST_F(ToolExport, HoldsEveryTypeAndVectorOfAFile) {
    WriteTicket("s.xml",
                "<a type='int'>-1</a><b type='double'>0.5</b><c type='string'>x</c><d type='binstr'>\\x00</d>"
                "<v type='int64'>-9223372036854775808</v><v type='uint64'>18446744073709551615</v>");
    EXPECT_EQ(Output({"export", "s.xml"}), R"([
  {
    "key": "a",
    "type": "int",
    "value": -1
  },
  {
    "key": "b",
    "type": "double",
    "value": 0.5
  },
  {
    "key": "c",
    "type": "string",
    "value": "x"
  },
  {
    "key": "d",
    "type": "binstr",
    "hex": "00"
  },
  {
    "key": "v",
    "vector": [
      {
        "type": "int64",
        "value": -9223372036854775808
      },
      {
        "type": "uint64",
        "value": 18446744073709551615
      }
    ]
  }
]
)");
}

TEST_F(ToolExport, ImportBringsBackEverythingExactly) {
    WriteTicket("s.xml",
                "<a><i type='int'>-2147483648</i><j type='int'>2147483647</j></a>"
                "<d type='double'>100.00000000000001e-003</d><d2 type='double'>4.9406564584124654e-324</d2>"
                "<nan type='double'>1.#QNAN</nan>"
                "<i64 type='int64'>-9223372036854775808</i64><i64b type='int64'>9007199254740993</i64b>"
                "<u64 type='uint64'>18446744073709551615</u64>"
                "<empty type='string'>\\</empty><emptyBytes type='binstr'>\\</emptyBytes>"
                "<text type='string'>a\\x20\\x20b\\n\\t\\x22\\\\\\xE2\\x82\\xAC</text>"
                "<latin type='string'>caf\\xE9</latin><caf\xE9><x type='int'>1</x></caf\xE9>"
                "<\xC3\xA9 type='string'>utf</\xC3\xA9>"
                "<bytes type='binstr'>\\x00\\x01\\xFF\\xFE</bytes>"
                "<v type='int'>1</v><v type='string'>\\xFF</v><v type='double'>1.#QNAN</v><v type='binstr'>\\x00</v>"
                "<leaf type='int'>1<branch type='int'>2</branch></leaf>");
    auto const json = Output({"export", "s.xml"});
    EXPECT_EQ(TicketWithInput(json, {"import", "t.xml"}).code, 0);
    EXPECT_EQ(Output({"diff", "s.xml", "t.xml"}), "");
    EXPECT_EQ(Output({"export", "t.xml"}), json);
    // To the byte, once the library has written both.
    Output({"merge", "s.xml", "s.xml"});
    EXPECT_EQ(Content("t.xml"), Content("s.xml"));
}

TEST_F(ToolImport, KeepsOtherKeysUnlessCleared) {
    WriteTicket("s.xml", "<a type='int'>1</a><b type='int'>2</b><b type='int'>3</b>");
    std::string const json = R"([{"key": "b", "type": "string", "value": "x"}])";
    EXPECT_EQ(TicketWithInput(json, {"import", "s.xml"}).code, 0);
    EXPECT_EQ(Output({"list", "s.xml"}), "a\tint\t1\nb\tstring\t\"x\"\n");
    EXPECT_EQ(TicketWithInput(json, {"import", "s.xml", "--clear"}).code, 0);
    EXPECT_EQ(Output({"list", "s.xml"}), "b\tstring\t\"x\"\n");
    EXPECT_EQ(TicketWithInput("[]", {"import", "s.xml"}).code, 0);
    EXPECT_EQ(Output({"list", "s.xml"}), "b\tstring\t\"x\"\n");
    EXPECT_EQ(TicketWithInput("[]", {"import", "s.xml", "--clear"}).code, 0);
    EXPECT_FALSE(files::Exists(m_scratch.Path("s.xml")));
}

TEST_F(ToolImport, NumbersMayBeTextsAndVectorsOfOneAreTheirElement) {
    std::string const json = R"([{"key": "a", "type": "uint64", "value": "18446744073709551615"},
        {"key": "b", "type": "double", "value": "nan"}, {"key": "c", "type": "double", "value": 2},
        {"key": "d", "vector": [{"type": "binstr", "value": "text"}]}, {"key": "e", "type": "string", "hex": "ff"}])";
    EXPECT_EQ(TicketWithInput(json, {"import", "s.xml"}).err, "");
    EXPECT_EQ(
        Output({"list", "s.xml"}),
        "a\tuint64\t18446744073709551615\nb\tdouble\tnan\nc\tint\t2\nd\tbinstr\t74657874\ne\tstring\t\"\\xFF\"\n");
}

TEST_F(ToolImport, TextThatIsNotOfItsShapeIsRefusedWithTheReason) {
    WriteTicket("s.xml", "<a type='int'>1</a>");
    auto const before = Content("s.xml");
    std::string const deep = std::string(100000, '[') + std::string(100000, ']');
    for (auto const& [json, reason] : {
             std::pair{std::string(), "standard input: line 1, column 1: unexpected end"},
             std::pair{std::string("{}"), "standard input: the JSON is not an array of keys"},
             std::pair{std::string("[1]"), "standard input: entry 0: not an object"},
             std::pair{std::string(R"([{"key": "a", "vector": [1]}])"), "standard input: entry 0: not an object"},
             std::pair{std::string("[{}]"), "standard input: entry 0: \"key\" is missing"},
             std::pair{std::string(R"([{"key": "a"}])"), "standard input: entry 0: \"type\" is missing"},
             std::pair{std::string(R"([{"key": "a", "type": "int"}])"), "entry 0: \"value\" is missing"},
             std::pair{std::string(R"([{"key": "a", "type": "text", "value": "x"}])"), "entry 0: unknown type 'text'"},
             std::pair{std::string(R"([{"key": "a", "type": "int", "value": 1.5}])"),
                       "entry 0: \"1.5\" is not a value of type int"},
             std::pair{std::string(R"([{"key": "a", "type": "int", "value": true}])"),
                       "entry 0: \"value\" is not one of type int"},
             std::pair{R"([{"key": "a", "type": "int", "value": )" + deep + "}]",
                       "entry 0: \"value\" is not one of type int"},
             std::pair{std::string(R"([{"key": "a", "type": "string", "value": 1}])"),
                       "entry 0: \"value\" is not a text"},
             std::pair{std::string(R"([{"key": "a", "type": "int", "hex": "00"}])"),
                       "entry 0: \"hex\" does not go with type int"},
             std::pair{std::string(R"([{"key": "a", "type": "string", "value": "x", "hex": "00"}])"),
                       "entry 0: both \"value\" and \"hex\" are given"},
             std::pair{std::string(R"([{"key": "a", "keyHex": "62", "type": "int", "value": 1}])"),
                       "entry 0: both \"key\" and \"keyHex\" are given"},
             std::pair{std::string(R"([{"key": "a", "type": "int", "value": 1, "vector": []}])"),
                       "entry 0: both \"vector\" and \"value\" are given"},
             std::pair{std::string(R"([{"key": "a", "vector": []}])"), "entry 0: \"vector\" is not an array of values"},
             std::pair{
                 std::string(R"([{"key": "a", "type": "int", "value": 1}, {"key": "a", "type": "int", "value": 2}])"),
                 "entry 1: key 'a' stands twice"},
             std::pair{std::string(R"([{"key": "a", "type": "int", "value": 1, "value": 2}])"),
                       "an object has the member \"value\" twice"},
             std::pair{std::string(R"([{"key": "a", "vector": [{"type": "int", "type": "double", "value": 1}]}])"),
                       "an object has the member \"type\" twice"},
             std::pair{std::string(R"([{"key": "a", "type": "string", "value": "\u0000"}])"),
                       "'a': a string cannot hold a NUL byte"},
             std::pair{std::string(R"([{"key": "a\u0000b", "type": "string", "value": ""}])"),
                       "a key cannot hold a NUL byte"},
             std::pair{std::string(R"([{"key": "a", "type": "double", "value": 1e999}])"), "standard input: "},
         }) {
        auto const result = TicketWithInput(json, {"import", "s.xml"});
        EXPECT_EQ(result.code, 2);
        EXPECT_THAT(result.err, HasSubstr(reason));
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
        EXPECT_EQ(Content("s.xml"), before);
    }
}

TEST_F(ToolImport, WhatWouldNotComeBackIsToldOfTwoKeysAndCounted) {
    auto const result = TicketWithInput(R"([{"key": "a", "type": "string", "value": "x "},
        {"key": "b", "type": "string", "value": "y "}, {"key": "c", "type": "string", "value": "z "}])",
                                        {"import", "s.xml"});
    EXPECT_EQ(result.err,
              "ticket: s.xml: not written: 'a' (string \"x \") would come back as string \"x\", and "
              "'b' (string \"y \") would come back as string \"y\" (and 1 more); --force writes all the same\n");
}

TEST_F(ToolImport, HugeValuesArrive) {
    std::string const value(3 << 20, 'x');
    EXPECT_EQ(
        TicketWithInput("[{\"key\": \"a\", \"type\": \"string\", \"value\": \"" + value + "\"}]", {"import", "s.xml"})
            .code,
        0);
    EXPECT_EQ(Output({"get", "s.xml", "a"}), value + "\n");
}

}  // namespace
