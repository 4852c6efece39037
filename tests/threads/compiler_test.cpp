#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "script_fixture.h"

namespace {

struct Entry {
    int command;
    int operand;
    bool operator==(const Entry& o) const { return command == o.command && operand == o.operand; }
};

std::ostream& operator<<(std::ostream& os, const Entry& e) {
    return os << "(" << (baublecore::commandName(e.command) ? baublecore::commandName(e.command) : "?") << ", "
              << e.operand << ")";
}

std::vector<Entry> table(const YThread& t) {
    std::vector<Entry> out;
    for (int i = 0; i <= t.jumpCount; ++i) out.push_back({t.jumps[i].command, t.jumps[i].operand});
    return out;
}

std::vector<int> codeWords(const YThread& t) { return std::vector<int>(t.code, t.code + t.codeWordCount); }

std::string heapName(int i) {
    YVariable* v = YHeap::theHeap[i];
    return v && v->getName() ? v->getName() : "";
}

// The operands of statement i, as the names of their heap entries.
std::vector<std::string> operands(const YThread& t, int i) {
    std::vector<std::string> out;
    for (int w = t.jumps[i].operand; t.code[w] != -1; ++w) out.push_back(heapName(t.code[w]));
    return out;
}

using Compiler = ScriptTest;

TEST_F(Compiler, WorkedExampleGivesItsTableAndCodeWords) {
    YThread& t = compile("x=1\nif x=1\n[\nsay \"yes\"\n]\nelse\nsay \"no\"\n");
    ASSERT_TRUE(t);
    EXPECT_EQ(codeWords(t), (std::vector<int>{0, 1, 2, 3, 4, -1, 5, -1, 6, -1, -1, 7, -1}));
    // The ycNop that closed the if became the jump; its operand is never read.
    std::vector<Entry> got = table(t);
    ASSERT_EQ(got.size(), 8u);
    std::vector<Entry> want = {{ycAssign, 3}, {ycTest, 6}, {ycBranch, 5}, {ycSay, 8},
                               {ycJump, 7},   {ycNop, 10}, {ycSay, 11}};
    for (size_t i = 0; i < want.size(); ++i) EXPECT_EQ(got[i], want[i]) << "statement " << i;
    EXPECT_EQ(got[7].command, ycEnd);
    EXPECT_EQ(t.jumpCount, 7);
    EXPECT_EQ(heapName(3), "x");
    EXPECT_EQ(heapName(4), "1");
    EXPECT_EQ(heapName(5), "x=1");
    EXPECT_EQ(YHeap::theHeap[5]->type, YVT_Expression);
    EXPECT_EQ(heapName(6), "\"yes\"");
    EXPECT_EQ(heapName(7), "\"no\"");
}

TEST_F(Compiler, WordsBecomeStatementsByTheirShape) {
    YThread& t = compile("x = 5\nx=\ny=x z\nif=1\nsayit\niffy 2\nx=[1 2 3]\ndrop [name\n"
                         "SYSTEM=\"MAC\"\nSYSTEM=[w\n");
    ASSERT_TRUE(t);
    std::vector<Entry> got = table(t);
    EXPECT_EQ(got[0].command, ycCustom);
    EXPECT_EQ(operands(t, 0), (std::vector<std::string>{"x", "=", "5"}));
    EXPECT_EQ(got[1].command, ycAssign);
    EXPECT_EQ(operands(t, 1), (std::vector<std::string>{"x"}));  // no operand: clears x
    EXPECT_EQ(operands(t, 2), (std::vector<std::string>{"y", "x", "z"}));
    EXPECT_EQ(got[3].command, ycAssign);
    EXPECT_EQ(operands(t, 3), (std::vector<std::string>{"if", "1"}));
    EXPECT_EQ(got[4].command, ycCustom);
    EXPECT_EQ(got[5].command, ycCustom);
    EXPECT_EQ(operands(t, 5), (std::vector<std::string>{"iffy", "2"}));
    // The list initialiser emits nothing; its last word is "3]".
    EXPECT_EQ(got[6].command, ycDrop);
    EXPECT_EQ(operands(t, 6), (std::vector<std::string>{"[name", "name"}));
    EXPECT_EQ(valueOf("x.1"), "1");
    EXPECT_EQ(valueOf("x.3"), "3]");
    // SYSTEM is heap index 0, and a target like any other.
    EXPECT_EQ(got[7].command, ycAssign);
    EXPECT_EQ(operands(t, 7), (std::vector<std::string>{"SYSTEM", "\"MAC\""}));
    EXPECT_EQ(valueOf("SYSTEM.1"), "w");
}

TEST_F(Compiler, ABracketInsideAnOperandListLeavesTheBlockOpen) {
    YThread& t = compile("[ say x ]\nsay y\n");
    ASSERT_TRUE(t);
    EXPECT_EQ(operands(t, 0), (std::vector<std::string>{"x", "]"}));
    EXPECT_EQ(operands(t, 1), (std::vector<std::string>{"y"}));
}

TEST_F(Compiler, ElseBindsToTheIfClauseJustBeforeIt) {
    // The inner if is the outer's whole body, so the else is the outer's.
    YThread& flat = compile("if a\nif b\nx\nelse\ny\n");
    ASSERT_TRUE(flat);
    std::vector<Entry> f = table(flat);
    // 0 test a, 1 branch, 2 test b, 3 branch, 4 x, 5 nop (inner), 6 jump (outer), 7 nop, 8 y
    EXPECT_EQ(f[3], (Entry{ycBranch, 6}));
    EXPECT_EQ(f[5].command, ycNop);
    EXPECT_EQ(f[6], (Entry{ycJump, 9}));
    EXPECT_EQ(f[1], (Entry{ycBranch, 7}));
    threads.clear();

    YThread& block = compile("if a\n[\nif b\nx\nelse\ny\n]\n");
    ASSERT_TRUE(block);
    std::vector<Entry> b = table(block);
    // The else now belongs to the inner if: its jump stands at 5.
    EXPECT_EQ(b[5], (Entry{ycJump, 8}));
    EXPECT_EQ(b[3], (Entry{ycBranch, 6}));
    EXPECT_EQ(b[8].command, ycNop);  // the outer if's end
    EXPECT_EQ(b[1], (Entry{ycBranch, 9}));
}

TEST_F(Compiler, ForAndProcedureShapes) {
    YThread& t = compile("for i 1 3\n[\nif i=2\nbreak\ncontinue\n]\nprocedure p a\nsay a\n");
    ASSERT_TRUE(t);
    std::vector<Entry> j = table(t);
    // 0 forstart, 1 fornext, 2 branch, 3 test, 4 branch, 5 jump(break), 6 nop, 7 jump(continue), 8 jump k+1
    EXPECT_EQ(j[0].command, ycForStart);
    EXPECT_EQ(j[1].command, ycForNext);
    EXPECT_EQ(j[0].operand, j[1].operand);
    EXPECT_EQ(j[2], (Entry{ycBranch, 9}));
    EXPECT_EQ(j[5], (Entry{ycJump, 9}));  // break: behind the loop
    EXPECT_EQ(j[7], (Entry{ycJump, 1}));  // continue: the next round
    EXPECT_EQ(j[8], (Entry{ycJump, 1}));
    EXPECT_EQ(j[9].command, ycEntry);
    EXPECT_EQ(j[10].command, ycSay);
    EXPECT_EQ(j[11].command, ycReturn);
    EXPECT_EQ(valueOf("p"), "+9");  // a procedure is its entry's index
}

TEST_F(Compiler, EmptyAndOddSources) {
    YThread& empty = compile("");
    ASSERT_TRUE(empty);
    EXPECT_EQ(empty.jumpCount, 0);
    EXPECT_EQ(empty.jumps[0].command, ycEnd);
    EXPECT_EQ(codeWords(empty), (std::vector<int>{0, 1, 2}));
    threads.clear();

    // LF alone is a blank: the whole text is one line.
    std::string lfOnly = "say a\nsay b";
    PXIStreamMemory stream(lfOnly.data(), lfOnly.size());
    YThread one(&stream);
    ASSERT_TRUE(one);
    EXPECT_EQ(one.jumpCount, 1);
    EXPECT_EQ(operands(one, 0), (std::vector<std::string>{"a", "say", "b"}));
}

TEST_F(Compiler, GluedBracketsAreTokensAndIfAtTheEndHasAnEmptyBody) {
    YThread& t = compile("[say \"x\"]\nif x");
    ASSERT_TRUE(t);
    EXPECT_EQ(t.jumps[0].command, ycSay);
    EXPECT_EQ(operands(t, 0), (std::vector<std::string>{"\"x\"]"}));
    EXPECT_EQ(t.jumps[1].command, ycTest);
    EXPECT_EQ(t.jumps[3].command, ycNop);
}

TEST_F(Compiler, ErrorsStopWithOneMessageHoldingTheLine) {
    YThread& t = compile("x=1\ny=(a+b\nz=2\n");
    EXPECT_FALSE(t);
    EXPECT_EQ(t.jumps, nullptr);
    EXPECT_EQ(t.code, nullptr);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].rfind("2: ", 0), 0u) << messages[0];
    EXPECT_NE(messages[0].find("(a+b"), std::string::npos) << messages[0];
    EXPECT_EQ(YThread::threadList.count, 0);
}

TEST_F(Compiler, ATabInsideQuotesIsAnUnquote) {
    YThread& t = compile("say \"a\tb\"\n");
    EXPECT_FALSE(t);
    ASSERT_GE(messages.size(), 1u);
    EXPECT_EQ(messages[0].rfind("Unquote ", 0), 0u) << messages[0];
    EXPECT_NE(messages[0].find("..."), std::string::npos);
}

TEST_F(Compiler, LimitsAreRefusedWithAMessage) {
    EXPECT_FALSE(compile("break\n"));
    EXPECT_FALSE(compile("else\nsay x\n"));
    EXPECT_FALSE(compile("for i 1 2\nsay i\nelse\nsay j\n"));
    std::string many;
    for (int i = 0; i < 8001; ++i) many += "wait\n";
    EXPECT_FALSE(compile(many));
    ASSERT_EQ(messages.size(), 4u);
    EXPECT_NE(messages[0].find("break or continue outside a for"), std::string::npos);
    EXPECT_NE(messages[1].find("else that follows no if"), std::string::npos);
    EXPECT_NE(messages[2].find("else that follows no if"), std::string::npos);
    EXPECT_NE(messages[3].find("too many statements"), std::string::npos);
    std::string words = "say";
    for (int i = 0; i < 20001; ++i) words += " w";
    EXPECT_FALSE(compile(words + "\n"));
    EXPECT_NE(messages.back().find("too many code words"), std::string::npos) << messages.back();
    EXPECT_FALSE(compile(std::string(30000, '[')));
    EXPECT_NE(messages.back().find("blocks nested too deep"), std::string::npos) << messages.back();
    std::string deep;
    for (int i = 0; i < 2100; ++i) deep += "if x\n";
    EXPECT_FALSE(compile(deep));
    EXPECT_NE(messages.back().find("nested too deep"), std::string::npos) << messages.back();

    // Every refusal names its reason beside the line and the text.
    std::string sum = "a";
    for (int i = 0; i < 60; ++i) sum += "+a";
    const struct {
        std::string source, reason;
    } refusals[] = {
        {"say " + std::string(1024, 'w') + "\n", "a word longer than 1023 bytes"},
        {std::string(1024, 'w') + "=1\n", "a word longer than 1023 bytes"},
        {"x=[a " + std::string(1024, 'w') + "\n", "a word longer than 1023 bytes"},
        {"say " + sum + "\n", "an expression too big for the compiler"},
        {"say (a+b\n", "brackets or quotes that do not pair"},
        {"say a++b\n", "an operand is missing"},
    };
    for (const auto& r : refusals) {
        threads.clear();
        EXPECT_FALSE(compile(r.source)) << r.reason;
        EXPECT_NE(messages.back().find("1: " + r.reason), std::string::npos) << messages.back();
    }
    // A full heap: the list fills it, and the next new word finds no room.
    threads.clear();
    std::string fill = "x=[";
    for (int i = 0; i < 32764; ++i) fill += "w ";
    EXPECT_FALSE(compile(fill + "\nsay new\n"));
    EXPECT_NE(messages.back().find("2: too many terms"), std::string::npos) << messages.back();
}

TEST_F(Compiler, ACommentBehindAHeaderLineIsNotItsBody) {
    YThread& t = compile("if x ; a comment\nsay \"yes\"\nsay \"end\"\n");
    ASSERT_TRUE(t);
    // test, branch past the say, the say, the if's end, the last say
    EXPECT_EQ(t.jumps[1].command, ycBranch);
    EXPECT_EQ(t.jumps[1].operand, 4);
    EXPECT_EQ(operands(t, 2), (std::vector<std::string>{"\"yes\""}));
    EXPECT_EQ(t.jumps[3].command, ycNop);
}

TEST_F(Compiler, NestedIncludesEndingTogetherLeaveNoStrayStatement) {
    writeScript("c.mps", "say \"c\"\n");
    writeScript("b.mps", "say \"b\"\ninclude c.mps\n");
    writeScript("a.mps", "include b.mps\nsay \"a\"\n");
    YThread t("a.mps");
    ASSERT_TRUE(t);
    EXPECT_EQ(t.jumpCount, 3);
    EXPECT_EQ(operands(t, 0), (std::vector<std::string>{"\"b\""}));
    EXPECT_EQ(operands(t, 1), (std::vector<std::string>{"\"c\""}));
    EXPECT_EQ(operands(t, 2), (std::vector<std::string>{"\"a\""}));
}

TEST_F(Compiler, IncludeRefusesCompiledScriptsAndLongNames) {
    std::ofstream("compiled.mps", std::ios::binary) << std::string("\x02\0\0\0\0", 5);
    writeScript("a.mps", "include compiled.mps\nsay 1\n");
    YThread a("a.mps");
    EXPECT_FALSE(a);
    EXPECT_NE(messages.back().find("a compiled script cannot be included"), std::string::npos);
    // A name too long for the name buffers is refused for that reason, even
    // when the file is there.
    const std::string longName(140, 'n');
    writeScript(longName, "say 1\n");
    writeScript("b.mps", "include " + longName + "\n");
    YThread b("b.mps");
    EXPECT_FALSE(b);
    YThread direct(longName.c_str());
    EXPECT_FALSE(direct);
    EXPECT_NE(messages.back().find("a script name has at most 127 bytes"), std::string::npos) << messages.back();
    EXPECT_EQ(messages.back().find("can't find"), std::string::npos) << messages.back();
}

TEST_F(Compiler, IncludeReadsAFileInPlaceOfItsLine) {
    writeScript("inner.mps", "say \"in\"\n");
    writeScript("main.mps", "say \"before\"\ninclude inner.mps\nsay \"after\"\n");
    YThread t("main.mps");
    ASSERT_TRUE(t);
    EXPECT_EQ(t.jumpCount, 3);
    EXPECT_EQ(operands(t, 0), (std::vector<std::string>{"\"before\""}));
    EXPECT_EQ(operands(t, 1), (std::vector<std::string>{"\"in\""}));
    EXPECT_EQ(operands(t, 2), (std::vector<std::string>{"\"after\""}));
    EXPECT_STREQ(t.getName(), "main.mps");
}

TEST_F(Compiler, WithoutANameTheFileChooserIsAsked) {
    writeScript("chosen.mps", "say \"chosen\"\n");
    struct Asked {
        std::string title, pattern, answer;
    } asked{"", "", "chosen.mps"};
    PXSysSetFileChooser(
        [](char* out, size_t size, const char* title, const char* pattern, int, void* ctx) {
            auto* a = static_cast<Asked*>(ctx);
            a->title = title;
            a->pattern = pattern;
            std::snprintf(out, size, "%s", a->answer.c_str());
        },
        &asked);
    YThread chosen(static_cast<const char*>(nullptr));
    EXPECT_TRUE(chosen);
    EXPECT_STREQ(chosen.getName(), "chosen.mps");
    EXPECT_EQ(asked.title, "Script");
    EXPECT_EQ(asked.pattern, "*.mps");
    asked.answer = "";  // cancelled: no script, no process end
    YThread cancelled(static_cast<const char*>(nullptr));
    EXPECT_FALSE(cancelled);
    PXSysSetFileChooser(nullptr, nullptr);
}

using SourceDeathTest = Compiler;

TEST_F(SourceDeathTest, MissingUnreadableOrOversizedFilesEndTheProcessSayingWhy) {
    const auto exitOne = ::testing::ExitedWithCode(1);
    EXPECT_EXIT({ YThread t("nowhere.mps"); }, exitOne, "can't find nowhere.mps");
    std::ofstream("big.mps", std::ios::binary) << std::string(65536, ' ');
    EXPECT_EXIT({ YThread t("big.mps"); }, exitOne, "Script too long");
    std::ofstream("fits.mps", std::ios::binary) << std::string(65535, ' ');
    YThread fits("fits.mps");
    EXPECT_TRUE(fits);
    // What is there but is no file to read says so; a FIFO would block.
    std::filesystem::create_directory("folder.mps");
    EXPECT_EXIT({ YThread t("folder.mps"); }, exitOne, "can't read folder.mps: it is a directory");
    ASSERT_EQ(::mkfifo("pipe.mps", 0600), 0);
    EXPECT_EXIT({ YThread t("pipe.mps"); }, exitOne, "can't read pipe.mps: it is a FIFO");
    writeScript("includer.mps", "include pipe.mps\n");
    EXPECT_EXIT({ YThread t("includer.mps"); }, exitOne, "can't read pipe.mps: it is a FIFO");
    EXPECT_EXIT({ YThread t("/dev/null"); }, exitOne, "can't read /dev/null: it is a device");
    std::filesystem::create_symlink("loop.mps", "loop.mps");
    EXPECT_EXIT({ YThread t("loop.mps"); }, exitOne, "can't read loop.mps: .*symbolic links");
}

PXIStream* openFromMemory(const char* name) {
    static const char text[] = "say \"from url\"\r\n";
    if (std::string(name) == "gone.mps") return nullptr;
    return new PXIStreamMemory(text, sizeof text - 1, name);
}

TEST_F(SourceDeathTest, TheUrlOpensWhatTheDiskDoesNotHave) {
    YThread t("virtual.mps", openFromMemory);
    ASSERT_TRUE(t);
    EXPECT_EQ(operands(t, 0), (std::vector<std::string>{"\"from url\""}));
    EXPECT_EXIT({ YThread gone("gone.mps", openFromMemory); }, ::testing::ExitedWithCode(1),
                "gone.mps not found");
}

TEST_F(Compiler, GoOnAnInvalidThreadDoesNothingAndTheTaskFollowsTheThreads) {
    struct Count {
        int n = 0;
        void hit() { ++n; }
    } count;
    PXLinkToMember<Count> link(&count, &Count::hit);
    YThread& bad = compile("y=(\n");
    bad.setGoLink(&link);
    bad.go();
    EXPECT_EQ(bad.running, 0);
    EXPECT_EQ(count.n, 0);
    threads.clear();
    EXPECT_EQ(YThread::task, nullptr);
    EXPECT_EQ(app.taskCount(), 0);

    YThread& good = compile("wait\n");
    EXPECT_NE(YThread::task, nullptr);
    EXPECT_EQ(app.taskCount(), 1);
    good.setGoLink(&link);
    good.go();
    EXPECT_EQ(good.running, 1);
    EXPECT_EQ(count.n, 1);
}

}  // namespace
