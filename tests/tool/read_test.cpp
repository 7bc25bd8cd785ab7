// The commands that only read: list, get, diff, settings. Export is with import.
#include "Program.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class ToolList : public Tool {
 protected:
    ToolList() {
        WriteTicket(
            "s.xml",
            "<Product><Name type='string'>Demo &quot;1&quot;</Name><Version type='double'>7.5</Version></Product>"
            "<Log><Level type='int'>3</Level><Mode type='int'>1</Mode></Log>"
            "<Login><Password type='binstr'>\\x00\\xFF</Password></Login>"
            "<Sizes type='int'>1</Sizes><Sizes type='int64'>-9007199254740993</Sizes>"
            "<Sizes type='uint64'>18446744073709551615</Sizes><Sizes type='double'>1.#QNAN</Sizes>");
    }
};

using ToolGet = ToolList;

TEST_F(ToolList, ShowsKeysWithTypeAndValueInOrder) {
    EXPECT_EQ(Output({"list", "s.xml"}),
              "Log/Level\tint\t3\n"
              "Log/Mode\tint\t1\n"
              "Login/Password\tbinstr\t00FF\n"
              "Product/Name\tstring\t\"Demo \\\"1\\\"\"\n"
              "Product/Version\tdouble\t7.5\n"
              "Sizes[0]\tint\t1\n"
              "Sizes[1]\tint64\t-9007199254740993\n"
              "Sizes[2]\tuint64\t18446744073709551615\n"
              "Sizes[3]\tdouble\tnan\n");
}

TEST_F(ToolList, SelectorsPickKeysAndPrefixes) {
    EXPECT_EQ(Output({"list", "s.xml", "Log/*", "Product/Name"}),
              "Log/Level\tint\t3\nLog/Mode\tint\t1\nProduct/Name\tstring\t\"Demo \\\"1\\\"\"\n");
    EXPECT_EQ(Output({"list", "s.xml", "Log"}), "");
    EXPECT_EQ(Output({"list", "--keys", "s.xml", "Log*"}), "Log/Level\nLog/Mode\nLogin/Password\n");
    EXPECT_EQ(Output({"list", "--keys", "s.xml", "*"}),
              "Log/Level\nLog/Mode\nLogin/Password\nProduct/Name\n"
              "Product/Version\nSizes\n");
}

TEST_F(ToolList, SelectorsThatCoverOneAnotherAreAllTakenWhateverTheirOrder) {
    EXPECT_EQ(Output({"list", "--keys", "s.xml", "Log/Level*", "Log/Mode*", "Log*"}),
              "Log/Level\nLog/Mode\nLogin/Password\n");
}

TEST_F(ToolList, AnEmptySelectorIsRefused) {
    EXPECT_EQ(Error({"list", "s.xml", ""}), "a selector is empty");
    EXPECT_EQ(Error({"list", "s.xml", "Log/*", ""}), "a selector is empty");
}

TEST_F(ToolList, JsonIsThatOfExport) {
    EXPECT_EQ(Output({"list", "--json", "s.xml"}), Output({"export", "s.xml"}));
    EXPECT_EQ(Output({"list", "s.xml", "Log/Level", "--json"}),
              "[\n  {\n    \"key\": \"Log/Level\",\n    \"type\": \"int\",\n    \"value\": 3\n  }\n]\n");
}

TEST_F(ToolList, AFileWithoutValuesGivesNothing) {
    WriteTicket("empty.xml", "");
    EXPECT_EQ(Output({"list", "empty.xml"}), "");
    EXPECT_EQ(Output({"list", "empty.xml", "--json"}), "[]\n");
}

TEST_F(ToolList, TextsStandOnOneLineWithoutAnythingATerminalWouldObey) {
    WriteTicket("t.xml", "<a type='string'>\\x1B[31m\\t\\n\\r\\\\\\x7F\\xC2\\x9B\\xFF\xC3\xA9</a>");
    EXPECT_EQ(Output({"list", "t.xml"}), "a\tstring\t\"\\x1B[31m\\t\\n\\r\\\\\\x7F\\xC2\\x9B\\xFF\xC3\xA9\"\n");
}

TEST_F(ToolList, WholeNumbersBeyond32BitsAreShownAsTheyAreInMemory) {
    WriteTicket("t.xml", "<a type='int64'>5000000000</a><b type='double'>1e300</b><c type='int'>-2147483648</c>");
    EXPECT_EQ(Output({"list", "t.xml"}), "a\tint64\t5000000000\nb\tdouble\t1e+300\nc\tint\t-2147483648\n");
}

TEST_F(ToolGet, PrintsOneValuePlain) {
    EXPECT_EQ(Output({"get", "s.xml", "Product/Name"}), "Demo \"1\"\n");
    EXPECT_EQ(Output({"get", "s.xml", "Product/Version"}), "7.5\n");
    EXPECT_EQ(Output({"get", "s.xml", "Log/Level"}), "3\n");
}

TEST_F(ToolGet, PrintsBytesExactlyOrInHexadecimal) {
    EXPECT_EQ(Output({"get", "s.xml", "Login/Password"}), std::string("\0\xFF", 2));
    EXPECT_EQ(Output({"get", "s.xml", "Login/Password", "--hex"}), "00FF\n");
    EXPECT_EQ(Output({"get", "s.xml", "Product/Name", "--hex"}), "44656D6F20223122\n");
}

TEST_F(ToolGet, PrintsAVectorOneElementALine) {
    EXPECT_EQ(Output({"get", "s.xml", "Sizes"}), "1\n-9007199254740993\n18446744073709551615\nnan\n");
}

TEST_F(ToolGet, AnIndexPicksOneElement) {
    EXPECT_EQ(Output({"get", "s.xml", "Sizes", "--index", "2"}), "18446744073709551615\n");
    EXPECT_EQ(Output({"get", "s.xml", "Log/Level", "--index", "0"}), "3\n");
    EXPECT_EQ(Error({"get", "s.xml", "Sizes", "--index", "4"}, 1), "s.xml: 'Sizes' has no element 4");
    EXPECT_EQ(Error({"get", "s.xml", "Sizes", "--index", "-1"}),
              "--index: '-1' is not a whole number from 0 to 999999999");
    EXPECT_EQ(Error({"get", "s.xml", "Log/Level", "--index", "1"}, 1), "s.xml: 'Log/Level' has no element 1");
}

TEST_F(ToolGet, ATypeConvertsAsTheLibraryDoesForAProgram) {
    EXPECT_EQ(Output({"get", "s.xml", "Product/Version", "--type", "int"}), "8\n");
    EXPECT_EQ(Output({"get", "s.xml", "Log/Level", "--type", "double"}), "3\n");
    EXPECT_EQ(Output({"get", "s.xml", "Sizes", "--index", "1", "--type", "unsigned"}), "0\n");
    EXPECT_EQ(Output({"get", "s.xml", "Sizes", "--index", "2", "--type", "int64"}), "-1\n");
    EXPECT_EQ(Output({"get", "s.xml", "Sizes", "--index", "3", "--type", "uint64"}), "18446744073709551615\n");
    EXPECT_EQ(Output({"get", "s.xml", "Product/Name", "--type", "binstr"}), "Demo \"1\"");
    EXPECT_EQ(Error({"get", "s.xml", "Log/Level", "--type", "string"}), "s.xml: 'Log/Level' cannot be read as string");
    EXPECT_THAT(Error({"get", "s.xml", "Log/Level", "--type", "text"}), HasSubstr("--type"));
}

TEST_F(ToolGet, AKeyThatIsNotThereGivesExitCodeOne) {
    EXPECT_EQ(Error({"get", "s.xml", "Log"}, 1), "s.xml: no key 'Log'");
    EXPECT_EQ(Error({"get", "s.xml", ""}, 1), "s.xml: no key ''");
    EXPECT_EQ(Error({"get", "s.xml", "--", "-x\ny"}, 1), "s.xml: no key '-x\\ny'");
}

TEST_F(ToolGet, ADefaultTakesThePlaceOfWhatIsMissing) {
    EXPECT_EQ(Output({"get", "s.xml", "Log/None", "--default", "7"}), "7\n");
    EXPECT_EQ(Output({"get", "s.xml", "Sizes", "--index", "9", "--default", ""}), "\n");
    EXPECT_EQ(Output({"get", "s.xml", "Log/Level", "--default", "7"}), "3\n");
    EXPECT_EQ(Error({"get", "none.xml", "Log/Level", "--default", "7"}), "none.xml: no such file");
}

TEST_F(ToolGet, AMisspeltKeyGetsAQuestion) {
    EXPECT_EQ(Error({"get", "s.xml", "log/levle"}, 1), "s.xml: no key 'log/levle'; did you mean 'Log/Level'?");
    EXPECT_EQ(Error({"get", "s.xml", "Login/Usr"}, 1), "s.xml: no key 'Login/Usr'; did you mean 'Login/User'?");
    EXPECT_EQ(Error({"get", "s.xml", "Login/Usr", "--schema", "none"}, 1), "s.xml: no key 'Login/Usr'");
}

class ToolDiff : public Tool {};

TEST_F(ToolDiff, TellsRemovedAddedAndChangedKeysAndSoByItsExitCode) {
    WriteTicket("a.xml", "<a type='int'>1</a><b type='int'>2</b><d type='string'>x</d>");
    WriteTicket("b.xml", "<b type='double'>2.5</b><c type='int'>3</c><d type='string'>x</d>");
    auto const result = Ticket({"diff", "a.xml", "b.xml"});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.out, "- a\tint\t1\n- b\tint\t2\n+ b\tdouble\t2.5\n+ c\tint\t3\n");
    EXPECT_EQ(result.err, "");
}

TEST_F(ToolDiff, FilesOfTheSameValuesDoNotDiffer) {
    WriteTicket("a.xml", "<!-- c --><a type='double'>1.#QNAN</a>\n<v type='int'>1</v><v type='string'>2</v>");
    WriteTicket("b.xml", "<v type='int64'>1</v><v type='string'>2</v><a type='double'>1.#QNAN</a>");
    EXPECT_EQ(Output({"diff", "a.xml", "b.xml"}), "");
}

TEST_F(ToolDiff, AVectorThatGrewIsShownWhole) {
    WriteTicket("a.xml", "<v type='int'>1</v>");
    WriteTicket("b.xml", "<v type='int'>1</v><v type='int'>2</v>");
    auto const result = Ticket({"diff", "a.xml", "b.xml"});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.out, "- v\tint\t1\n+ v[0]\tint\t1\n+ v[1]\tint\t2\n");
}

TEST_F(ToolDiff, AFileThatIsNotThereIsAFailureAndNoDifference) {
    WriteTicket("a.xml", "<a type='int'>1</a>");
    EXPECT_EQ(Error({"diff", "a.xml", "b.xml"}), "b.xml: no such file");
    EXPECT_EQ(Error({"diff", "b.xml", "a.xml"}), "b.xml: no such file");
}

class ToolSettings : public Tool {
 protected:
    ToolSettings() {
        WriteTicket("s.xml",
                    "<Product><Name type='string'>Demo</Name><Version type='double'>7.5</Version>"
                    "<TraceErrorRequired type='int'>2</TraceErrorRequired></Product>"
                    "<Log><Level type='string'>4</Level><Mode type='int'>1</Mode><Mode type='int'>2</Mode></Log>"
                    "<Login><Password type='binstr'>secret</Password></Login>");
    }

    // The columns of the row of an accessor, without what pads them.
    std::vector<std::string> RowOf(std::string const& getter, ARGUMENTS const& arguments) const {
        std::istringstream rows(Output(arguments));
        for (std::string row; std::getline(rows, row);) {
            if (row.find(" " + getter + " ") == std::string::npos) continue;
            std::vector<std::string> columns;
            while (!row.empty()) {
                auto const end = std::min(row.find("  "), row.size());
                columns.push_back(row.substr(0, end));
                row.erase(0, std::min(row.find_first_not_of(' ', end), row.size()));
            }
            return columns;
        }
        return {};
    }
};

TEST_F(ToolSettings, ShowKeyTypeValueOriginAndAccessors) {
    ARGUMENTS const all{"settings", "s.xml"};
    EXPECT_THAT(RowOf("GETTER", all), ElementsAre("KEY", "TYPE", "VALUE", "FROM", "GETTER", "SETTER"));
    EXPECT_THAT(RowOf("GetProductName", all),
                ElementsAre("Product/Name", "string", "\"Demo\"", "file", "GetProductName", "SetProductName"));
    EXPECT_THAT(RowOf("GetProductVersion", all),
                ElementsAre("Product/Version", "double", "7.5", "file", "GetProductVersion", "SetProductVersion"));
    EXPECT_THAT(RowOf("GetTraceErrorRequired", all), ElementsAre("Product/TraceErrorRequired", "int", "true", "file",
                                                                 "GetTraceErrorRequired", "SetTraceErrorRequired"));
}

TEST_F(ToolSettings, WhatTheFileDoesNotHaveIsTheFallbackOfItsGetter) {
    ARGUMENTS const all{"settings", "s.xml"};
    EXPECT_THAT(RowOf("GetLocalMeasureUnit", all),
                ElementsAre("Locale/Measure", "int", "-1", "fallback", "GetLocalMeasureUnit", "SetLocalMeasureUnit"));
    EXPECT_THAT(RowOf("IsVireoVerifySupported", all),
                ElementsAre("Option/VireoVerify", "int", "true", "fallback", "IsVireoVerifySupported", "-"));
    EXPECT_THAT(RowOf("GetOEMName", all),
                ElementsAre("Product/OEM", "string", "\"\"", "fallback", "GetOEMName", "SetOEMName"));
}

TEST_F(ToolSettings, AValueOfTheWrongKindIsToldBesideTheFallback) {
    ARGUMENTS const all{"settings", "s.xml"};
    EXPECT_THAT(RowOf("GetLogLevel", all),
                ElementsAre("Log/Level", "int", "3", "fallback, file has string", "GetLogLevel", "SetLogLevel"));
    EXPECT_THAT(RowOf("GetLogMode", all),
                ElementsAre("Log/Mode", "int", "1", "fallback, file has vector", "GetLogMode", "SetLogMode"));
}

TEST_F(ToolSettings, EverySettingHasARow) {
    auto const table = Output({"settings", "s.xml"});
    EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 1 + 41);
}

TEST_F(ToolSettings, PasswordsAreHiddenUnlessAskedFor) {
    EXPECT_THAT(Output({"settings", "s.xml"}), Not(HasSubstr("secret")));
    EXPECT_THAT(Output({"settings", "s.xml", "--json"}), Not(HasSubstr("secret")));
    EXPECT_THAT(RowOf("GetLoginPassword", {"settings", "s.xml"}),
                ElementsAre("Login/Password", "binstr", "********", "file", "GetLoginPassword", "SetLoginPassword"));
    EXPECT_THAT(RowOf("GetLoginPassword", {"settings", "s.xml", "--show-secrets"}),
                ElementsAre("Login/Password", "binstr", "\"secret\"", "file", "GetLoginPassword", "SetLoginPassword"));
}

TEST_F(ToolSettings, APasswordThatIsNotTextIsHiddenAndShownAlike) {
    WriteTicket("p.xml", "<Login><Password type='binstr'>\\xFE</Password></Login>");
    EXPECT_THAT(Output({"settings", "p.xml", "--json"}), HasSubstr("\"value\": \"********\""));
    EXPECT_THAT(Output({"settings", "p.xml", "--json", "--show-secrets"}), HasSubstr("\"hex\": \"FE\""));
    EXPECT_THAT(Output({"settings", "p.xml", "--show-secrets"}), HasSubstr("\"\\xFE\""));
    WriteTicket("p.xml", "<Login><Password type='string'>secret</Password></Login>");
    EXPECT_THAT(Output({"settings", "p.xml"}), Not(HasSubstr("secret")));
}

TEST_F(ToolSettings, JsonHasValuesOfTheirOwnKinds) {
    auto const json = Output({"settings", "s.xml", "--json"});
    EXPECT_THAT(json, HasSubstr("  {\n    \"key\": \"Product/Name\",\n    \"type\": \"string\",\n"
                                "    \"value\": \"Demo\",\n    \"from\": \"file\",\n"
                                "    \"getter\": \"GetProductName\",\n    \"setter\": \"SetProductName\"\n  }"));
    EXPECT_THAT(json,
                HasSubstr("\"value\": true,\n    \"from\": \"file\",\n    \"getter\": \"GetTraceErrorRequired\""));
    EXPECT_THAT(json, HasSubstr("\"value\": 3,\n    \"from\": \"fallback\",\n    \"stored\": \"string\""));
    EXPECT_THAT(json, HasSubstr("\"getter\": \"IsVireoVerifySupported\",\n    \"setter\": null\n"));
}

}  // namespace
