// Injected input for the headless backend: a queue of events by pass, and
// the reader of the event text (its format is in pxbase/headless.h). The
// reader checks the whole text before it queues anything, so a bad line
// leaves the queue as it was.
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "headless_events.h"
#include "pxbase/headless.h"
#include "pxbase/window.h"

namespace {

// Equal passes keep their order of queueing.
std::multimap<uint64_t, PXInputEvent>& pending() {
    static std::multimap<uint64_t, PXInputEvent> queue;
    return queue;
}

struct KindName {
    const char* name;
    PXInputKind kind;
    int args;  // 2: x y, 1: key, 0: none
};

const KindName kKinds[] = {
    {"down", PXInputMouseDown, 2},         {"up", PXInputMouseUp, 2},
    {"move", PXInputMouseMove, 2},         {"dblclick", PXInputMouseDblClick, 2},
    {"keydown", PXInputKeyDown, 1},        {"keyup", PXInputKeyUp, 1},
    {"key", PXInputKeyDown, 1},            {"enter", PXInputMouseEnter, 0},
    {"leave", PXInputMouseLeave, 0},       {"activate", PXInputActivate, 0},
    {"deactivate", PXInputDeactivate, 0},  {"close", PXInputClose, 0},
    {"draw", PXInputDraw, 0},
};

struct KeyName {
    const char* name;
    int code;
};

const KeyName kKeys[] = {
    {"return", PXKeyReturn}, {"escape", PXKeyEscape}, {"space", PXKeySpace},
    {"tab", PXKeyTab},       {"backspace", PXKeyBackspace}, {"delete", PXKeyDelete},
    {"left", PXKeyLeft},     {"right", PXKeyRight},   {"up", PXKeyUp},
    {"down", PXKeyDown},
};

bool parseInt(const std::string& word, long long lo, long long hi, long long* out) {
    if (word.empty()) return false;
    errno = 0;
    char* end = nullptr;
    long long v = std::strtoll(word.c_str(), &end, 10);
    if (errno != 0 || *end != 0 || v < lo || v > hi) return false;
    *out = v;
    return true;
}

bool parseKey(const std::string& word, int* code) {
    long long v;
    if (word.size() > 1 && parseInt(word, 0, PXKeyUnknown, &v)) {
        *code = static_cast<int>(v);
        return true;
    }
    if (word.size() == 1 && std::isprint(static_cast<unsigned char>(word[0]))) {
        *code = std::tolower(static_cast<unsigned char>(word[0]));
        return true;
    }
    for (const KeyName& k : kKeys)
        if (word == k.name) {
            *code = k.code;
            return true;
        }
    return false;
}

void fail(char* why, size_t whySize, int line, const char* what) {
    if (why && whySize > 0) std::snprintf(why, whySize, "line %d: %s", line, what);
}

struct Parsed {
    uint64_t pass;
    PXInputEvent event;
};

// One line into zero, one or two events; false with the reason on error.
bool parseLine(const std::string& text, int line, std::vector<Parsed>& out, char* why, size_t whySize) {
    std::vector<std::string> words;
    size_t i = 0;
    while (i < text.size()) {
        while (i < text.size() && std::isspace(static_cast<unsigned char>(text[i]))) ++i;
        if (i >= text.size() || text[i] == '#') break;
        size_t start = i;
        while (i < text.size() && !std::isspace(static_cast<unsigned char>(text[i])) && text[i] != '#') ++i;
        words.push_back(text.substr(start, i - start));
    }
    if (words.empty()) return true;
    long long pass;
    if (!parseInt(words[0], 0, 1LL << 40, &pass)) {
        fail(why, whySize, line, "the pass must be a number from 0");
        return false;
    }
    if (words.size() < 2) {
        fail(why, whySize, line, "an event kind must follow the pass");
        return false;
    }
    const KindName* kind = nullptr;
    for (const KindName& k : kKinds)
        if (words[1] == k.name) kind = &k;
    if (!kind) {
        fail(why, whySize, line, "unknown event kind");
        return false;
    }
    if (words.size() != static_cast<size_t>(2 + kind->args)) {
        fail(why, whySize, line, kind->args == 2 ? "expected X and Y" : kind->args == 1 ? "expected one key" : "expected nothing after the kind");
        return false;
    }
    PXInputEvent e;
    e.kind = kind->kind;
    if (kind->args == 2) {
        long long x, y;
        if (!parseInt(words[2], INT32_MIN, INT32_MAX, &x) || !parseInt(words[3], INT32_MIN, INT32_MAX, &y)) {
            fail(why, whySize, line, "X and Y must be 32-bit numbers");
            return false;
        }
        e.x = static_cast<int32_t>(x);
        e.y = static_cast<int32_t>(y);
    } else if (kind->args == 1 && !parseKey(words[2], &e.key)) {
        fail(why, whySize, line, "unknown key");
        return false;
    }
    out.push_back(Parsed{static_cast<uint64_t>(pass), e});
    if (std::strcmp(kind->name, "key") == 0) {
        e.kind = PXInputKeyUp;
        out.push_back(Parsed{static_cast<uint64_t>(pass), e});
    }
    return true;
}

}  // namespace

void PXHeadlessInject(uint64_t pass, const PXInputEvent& event) { pending().emplace(pass, event); }

int PXHeadlessInjectText(const char* text, char* why, size_t whySize) {
    if (why && whySize > 0) why[0] = 0;
    if (!text) {
        fail(why, whySize, 0, "no text");
        return -1;
    }
    std::vector<Parsed> events;
    int line = 1;
    const char* at = text;
    while (*at) {
        const char* end = std::strchr(at, '\n');
        size_t n = end ? static_cast<size_t>(end - at) : std::strlen(at);
        if (!parseLine(std::string(at, n), line, events, why, whySize)) return -1;
        at += n;
        if (*at == '\n') ++at;
        ++line;
    }
    uint64_t base = PXHeadlessPass();
    for (const Parsed& p : events) PXHeadlessInject(base + p.pass, p.event);
    return static_cast<int>(events.size());
}

int PXHeadlessLoadEvents(const char* path, char* why, size_t whySize) {
    std::FILE* f = path ? std::fopen(path, "rb") : nullptr;
    if (!f) {
        if (why && whySize > 0) std::snprintf(why, whySize, "cannot open %s", path ? path : "(null)");
        return -1;
    }
    constexpr size_t kMax = 1 << 20;
    std::string text;
    char buf[4096];
    size_t got;
    while ((got = std::fread(buf, 1, sizeof buf, f)) > 0) {
        text.append(buf, got);
        if (text.size() > kMax) {
            std::fclose(f);
            if (why && whySize > 0) std::snprintf(why, whySize, "%s: larger than 1 MiB", path);
            return -1;
        }
    }
    std::fclose(f);
    if (text.find('\0') != std::string::npos) {
        if (why && whySize > 0) std::snprintf(why, whySize, "%s: not a text file", path);
        return -1;
    }
    return PXHeadlessInjectText(text.c_str(), why, whySize);
}

void PXHeadlessClearEvents() { pending().clear(); }

size_t PXHeadlessPendingEvents() { return pending().size(); }

void PXHeadlessDeliverDue(uint64_t pass) {
    // Take the due events out first: a handler may queue more, or clear the
    // queue, while they are delivered.
    auto& q = pending();
    std::vector<PXInputEvent> due;
    auto end = q.upper_bound(pass);
    for (auto it = q.begin(); it != end; ++it) due.push_back(it->second);
    q.erase(q.begin(), end);
    for (const PXInputEvent& e : due) PXWindow::deliver(e);
}
