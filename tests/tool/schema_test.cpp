// How the tool uses the table of settings and schema files.
#include "Program.h"

namespace {

using testing::HasSubstr;

class ToolSchema : public Tool {
 protected:
    ToolSchema() {
        Write("s.xml.schema.json", R"({"keys": [
            {"key": "Window/Width", "type": "int", "default": 800, "min": 1, "max": 4096, "help": "In pixels."},
            {"key": "Theme", "type": "string", "default": "light", "choices": ["light", "dark"]},
            {"key": "Zoom", "type": "double", "min": 0.5},
            {"key": "Token", "type": "string", "secret": true}]})");
    }
};

TEST_F(ToolSchema, ANewSettingGetsTheTypeThatTheServiceReads) {
    EXPECT_EQ(Output({"set", "n.xml", "Log/Level", "4"}), "");
    EXPECT_EQ(Output({"set", "n.xml", "Option/MediaWhitePoint", "true"}), "");
    EXPECT_EQ(Output({"set", "n.xml", "Product/Version", "7.5"}), "");
    EXPECT_EQ(Output({"set", "n.xml", "Login/Password", "secret"}), "");
    EXPECT_EQ(Output({"set", "n.xml", "Other/Key", "4"}), "");
    EXPECT_EQ(Output({"list", "n.xml"}),
              "Log/Level\tint\t4\nLogin/Password\tbinstr\t736563726574\nOption/MediaWhitePoint\tint\t1\n"
              "Other/Key\tstring\t\"4\"\nProduct/Version\tdouble\t7.5\n");
}

TEST_F(ToolSchema, AnExistingTypeAndAnAskedOneWinOverTheTable) {
    WriteTicket("n.xml", "<Log><Level type='string'>4</Level></Log>");
    auto const kept = Ticket({"set", "n.xml", "Log/Level", "5"});
    EXPECT_EQ(kept.code, 0);
    EXPECT_EQ(kept.err, "ticket: note: 'Log/Level' is stored as string; programs read int, which --type int stores\n");
    EXPECT_EQ(Output({"list", "n.xml"}), "Log/Level\tstring\t\"5\"\n");
    EXPECT_EQ(Output({"set", "n.xml", "Log/Level", "5", "--type", "int"}), "");
    EXPECT_EQ(Output({"list", "n.xml"}), "Log/Level\tint\t5\n");
    EXPECT_EQ(Output({"set", "m.xml", "Log/Level", "x", "--schema", "none"}), "");
    EXPECT_EQ(Output({"list", "m.xml"}), "Log/Level\tstring\t\"x\"\n");
}

TEST_F(ToolSchema, ValuesWithoutAMeaningAreRefused) {
    EXPECT_EQ(Error({"set", "n.xml", "Log/Level", "high"}),
              "\"high\" is not a value of type int; 'Log/Level' is of type int, --type stores another");
    EXPECT_EQ(Error({"set", "n.xml", "Log/Level", "--", "--force"}),
              "\"--force\" is not a value of type int; 'Log/Level' is of type int, --type stores another");
    EXPECT_EQ(Error({"set", "n.xml", "Locale/Measure", "5"}),
              "'Locale/Measure': 5 is not 0 to 4; --force stores it all the same");
    EXPECT_EQ(Error({"set", "n.xml", "Option/VireoVerify", "2"}),
              "'Option/VireoVerify': 2 is not 0 or 1; --force stores it all the same");
    EXPECT_EQ(Error({"set", "n.xml", "JE/Width", "-1"}),
              "'JE/Width': -1 is not 0 or more; --force stores it all the same");
    EXPECT_EQ(Output({"set", "n.xml", "JE/Width", "-1", "--force"}), "");
    EXPECT_EQ(Output({"get", "n.xml", "JE/Width"}), "-1\n");
}

TEST_F(ToolSchema, AMisspeltKeyIsStoredWithAQuestion) {
    auto const result = Ticket({"set", "n.xml", "Log/Levle", "4"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.err, "ticket: note: 'Log/Levle' is no known key; did you mean 'Log/Level'?\n");
    for (auto const* const key : {"SM/Z", "Log", "Level", "Product/Something"}) {
        EXPECT_EQ(Ticket({"set", "n.xml", key, "4"}).err, "") << key;
    }
}

TEST_F(ToolSchema, AFileBesideOrNamedAddsKeys) {
    EXPECT_EQ(Output({"set", "s.xml", "Window/Width", "1024"}), "");
    EXPECT_EQ(Output({"set", "s.xml", "Zoom", "2"}), "");
    EXPECT_EQ(Output({"list", "s.xml"}), "Window/Width\tint\t1024\nZoom\tint\t2\n");
    EXPECT_EQ(Error({"set", "s.xml", "Window/Width", "5000"}),
              "'Window/Width': 5000 is not 1 to 4096; --force stores it all the same");
    EXPECT_EQ(Error({"set", "o.xml", "Theme", "blue", "--schema", "s.xml.schema.json"}),
              "'Theme': \"blue\" is not one of \"light\", \"dark\"; --force stores it all the same");
    EXPECT_EQ(Output({"describe", "Window/Width", "s.xml"}),
              "Window/Width\n  type      int\n  fallback  800\n  values    1 to 4096\n  help      In pixels.\n"
              "  stored    int 1024\n");
    EXPECT_EQ(Output({"reset", "s.xml", "Zoom"}), "");
    EXPECT_EQ(Output({"list", "s.xml", "--keys"}), "Window/Width\n");
}

TEST_F(ToolSchema, AFileThatIsNoneIsTold) {
    Write("bad.json", R"({"keys": [{"key": "a", "type": "text"}]})");
    EXPECT_EQ(Error({"set", "n.xml", "a", "1", "--schema", "bad.json"}),
              "bad.json: key 0: unknown type 'text'; --schema none ignores schema files");
    EXPECT_THAT(Error({"set", "n.xml", "a", "1", "--schema", "none.json"}), HasSubstr("none.json: cannot be read"));
    for (auto const& [json, reason] : {
             std::pair{"{", "bad.json: JSON: line 1, column 2: unexpected end of input"},
             std::pair{"[]", "bad.json: not an object; "},
             std::pair{"{}", "bad.json: \"keys\" is missing; "},
             std::pair{R"({"keys": {"a": 1}})", "bad.json: \"keys\" is not an array; "},
             std::pair{R"({"keys": [1]})", "bad.json: key 0: not an object; "},
             std::pair{R"({"keys": [{"key": "a"}]})", "bad.json: key 0: \"type\" is missing; "},
             std::pair{R"({"keys": [{"key": "a", "type": "int", "min": "x"}]})", "key 0: \"min\" is not a number; "},
             std::pair{R"({"keys": [{"key": "a", "type": "int", "choices": 3}]})", "\"choices\" is not an array; "},
             std::pair{R"({"keys": [{"key": "a", "type": "int", "vector": 1}]})",
                       "\"vector\" is neither true nor false"},
             std::pair{R"({"keys": [{"key": "a", "type": "int"}, {"key": "a", "type": "double"}]})",
                       "bad.json: key 1: 'a' stands twice; "},
         }) {
        Write("bad.json", json);
        EXPECT_THAT(Error({"set", "n.xml", "a", "1", "--schema", "bad.json"}), HasSubstr(reason));
    }
}

TEST_F(ToolSchema, AMemberThatIsNotKnownIsRefusedSoThatAMistakeTurnsNoCheckOff) {
    Write("bad.json", R"({"keys": [{"key": "a", "type": "int", "minimum": 1}]})");
    EXPECT_EQ(Error({"set", "n.xml", "a", "0", "--schema", "bad.json"}),
              "bad.json: key 0: unknown member 'minimum'; there are key, type, default, min, max, choices, vector, "
              "secret, help; --schema none ignores schema files");
    Write("bad.json", R"({"keys": [], "Keys": []})");
    WriteTicket("n.xml", "<a type='int'>1</a>");
    EXPECT_EQ(Error({"list", "n.xml", "--schema", "bad.json"}),
              "bad.json: unknown member 'Keys'; there are keys; --schema none ignores schema files");
}

TEST_F(ToolSchema, MembersForOtherProgramsAreIgnored) {
    Write("n.json",
          R"({"$schema": "x", "x-by": 1, "keys": [{"key": "a", "type": "int", "x-unit": "mm", "$comment": 1}]})");
    EXPECT_EQ(Output({"set", "n.xml", "a", "1", "--schema", "n.json"}), "");
    EXPECT_EQ(Output({"list", "n.xml"}), "a\tint\t1\n");
}

TEST_F(ToolSchema, NumbersThatAreKeptAsTextsHaveLimits) {
    // As a program's ticket::Schema exports wide keys, infinite limits, and a fallback that means "not set".
    Write("wide.json", R"({"keys": [
        {"key": "Delay", "type": "string", "default": "1.5", "min": "0", "max": "10"},
        {"key": "Zoom", "type": "double", "default": -1, "min": 0.1, "max": null}]})");
    EXPECT_EQ(Output({"set", "n.xml", "Delay", "9.5", "--schema", "wide.json"}), "");
    EXPECT_EQ(Output({"set", "n.xml", "Zoom", "1000.5", "--schema", "wide.json"}), "");
    EXPECT_EQ(Output({"list", "n.xml"}), "Delay\tstring\t\"9.5\"\nZoom\tdouble\t1000.5\n");
    for (std::string const text : {"10.5", "soon"}) {
        EXPECT_EQ(Error({"set", "n.xml", "Delay", text, "--schema", "wide.json"}),
                  "'Delay': \"" + text + "\" is not 0 to 10; --force stores it all the same");
    }
}

TEST_F(ToolSchema, MembersThatContradictEachOtherAreRefused) {
    for (auto const& [members, reason] : {
             std::pair{R"("type": "int", "min": 2, "max": 1)", "\"min\" is greater than \"max\""},
             std::pair{R"("type": "binstr", "max": 1)", "bytes have no \"min\" and \"max\""},
             std::pair{R"("type": "int", "choices": [])", "\"choices\" is empty"},
             std::pair{R"("type": "int", "default": [5])", "\"default\" is not one value"},
             std::pair{R"("type": "int", "vector": true, "default": {})", "\"default\" is not one value"},
         }) {
        Write("bad.json", std::string(R"({"keys": [{"key": "a", )") + members + "}]}");
        EXPECT_EQ(Error({"set", "n.xml", "a", "1", "--schema", "bad.json"}),
                  std::string("bad.json: key 0: ") + reason + "; --schema none ignores schema files");
    }
}

TEST_F(ToolSchema, ANumberThatIsNoneIsInNoRange) {
    Write("d.json",
          R"({"keys": [{"key": "D", "type": "double", "min": 0}, {"key": "E", "type": "double", "max": 1}]})");
    EXPECT_EQ(Error({"set", "n.xml", "D", "nan", "--schema", "d.json"}),
              "'D': nan is not 0 or more; --force stores it all the same");
    EXPECT_EQ(Error({"set", "n.xml", "E", "nan", "--schema", "d.json"}),
              "'E': nan is not 1 or less; --force stores it all the same");
}

TEST_F(ToolSchema, SecretsAreHiddenWhereItIsAskedFor) {
    WriteTicket("s.xml", "<Token type='string'>t0</Token><Login><Password type='binstr'>pw</Password></Login>");
    EXPECT_EQ(Output({"list", "s.xml"}), "Login/Password\tbinstr\t7077\nToken\tstring\t\"t0\"\n");
    EXPECT_EQ(Output({"list", "s.xml", "--redact"}), "Login/Password\tbinstr\t********\nToken\tstring\t********\n");
    EXPECT_EQ(Output({"get", "s.xml", "Token", "--redact"}), "********\n");
    auto const exported = Output({"export", "s.xml", "--redact"});
    EXPECT_THAT(exported, HasSubstr("\"redacted\": true"));
    auto const result = TicketWithInput(exported, {"import", "n.xml"});
    EXPECT_EQ(result.code, 2);
    EXPECT_THAT(result.err, HasSubstr("the value was hidden when it was exported"));
    EXPECT_EQ(Ticket({"find", "s.xml", "t0", "--redact"}).code, 1);
    ARGUMENTS const list{TICKET_PROGRAM, "list", "s.xml", "Token"};
    EXPECT_EQ(RunOnTerminal(list, m_manner), "Token\tstring\t********\r\n");
    ARGUMENTS shown = list;
    shown.push_back("--show-secrets");
    EXPECT_EQ(RunOnTerminal(shown, m_manner), "Token\tstring\t\"t0\"\r\n");
}

TEST_F(ToolSchema, DescribeTellsWhatIsKnown) {
    EXPECT_EQ(Output({"describe", "Log/Level"}),
              "Log/Level\n  type      int\n  fallback  3\n  getter    GetLogLevel\n  setter    SetLogLevel\n");
    EXPECT_THAT(Output({"describe", "Option/Screenproof"}), HasSubstr("  type      string or int\n"));
    EXPECT_EQ(Error({"describe", "Log/Levl"}, 1), "nothing is known of the key 'Log/Levl'; did you mean 'Log/Level'?");
    EXPECT_THAT(Output({"describe"}), HasSubstr("\nLogin/Password\tbinstr\n"));
}

}  // namespace
