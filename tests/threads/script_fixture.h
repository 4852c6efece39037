// A fixture for script tests: an application on the headless clock, a
// scratch working directory (for "debug.txt" and script files), messages
// captured, and threads compiled from text written with \n line ends (they
// become CR LF, as script files have them).
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "baublecore/baublecore.h"

class ScriptTest : public ::testing::Test {
protected:
    void SetUp() override {
        home_ = std::filesystem::current_path();
        dir_ = std::filesystem::temp_directory_path() /
               ("bc-script-" + std::to_string(::getpid()) + "-" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::remove_all(dir_);
        std::filesystem::create_directories(dir_);
        std::filesystem::current_path(dir_);
        PXHeadlessSetClock(1000);
        PXHeadlessSetTickMs(10);
        PXSysSetUserMessageHandler(
            [](const char* text, unsigned, const char*, void* self) {
                static_cast<ScriptTest*>(self)->messages.push_back(text);
            },
            this);
    }
    void TearDown() override {
        threads.clear();
        YThread::setYieldEventsOff(0);
        PXSysSetUserMessageHandler(nullptr, nullptr);
        std::filesystem::current_path(home_);
        std::filesystem::remove_all(dir_);
    }

    static std::string crlf(const std::string& text) {
        std::string out;
        for (char c : text) {
            if (c == '\n') out += '\r';
            out += c;
        }
        return out;
    }

    // Writes a script file (\n becomes CR LF).
    void writeScript(const std::string& name, const std::string& text) {
        std::ofstream(name, std::ios::binary) << crlf(text);
    }

    // A thread compiled from the text through a memory stream.
    YThread& compile(const std::string& text) {
        std::string bytes = crlf(text);
        PXIStreamMemory stream(bytes.data(), bytes.size());
        threads.push_back(std::make_unique<YThread>(&stream));
        return *threads.back();
    }

    // Compiles, starts and runs the task loop for `passes` passes.
    YThread& run(const std::string& text, int passes = 200) {
        YThread& t = compile(text);
        EXPECT_TRUE(t) << "did not compile: " << text;
        t.go();
        app.run(static_cast<uint64_t>(passes));
        return t;
    }

    // The lines "debug.txt" holds.
    std::vector<std::string> said() const {
        std::ifstream in("debug.txt");
        std::vector<std::string> lines;
        for (std::string line; std::getline(in, line);) lines.push_back(line);
        return lines;
    }

    // The text of a heap variable by name; "" when there is none.
    static std::string valueOf(const char* name) {
        int i = YHeap::theHeap.index(name, static_cast<int>(std::strlen(name)));
        if (i < 0) return "";
        int len = 0;
        const char* text = YHeap::theHeap[i]->value(len);
        return std::string(text, static_cast<size_t>(len < 0 ? -len : len));
    }

    PXApp app;
    std::vector<std::unique_ptr<YThread>> threads;
    std::vector<std::string> messages;

private:
    std::filesystem::path home_, dir_;
};
