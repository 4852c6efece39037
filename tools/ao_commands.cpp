// bauble ao and bauble palette: making and inspecting animation files and
// palette files from indexed PNGs, without other software. They work on the
// file codec of the library (src/animation/ao_file.cpp) directly: a file is
// bytes here, not an animation on a stage.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "animation/ao_file_internal.h"
#include "commands.h"
#include "pxbase/mem_canvas.h"
#include "pxbase/png.h"
#include "pxbase/rect.h"

namespace bauble {
namespace {

using namespace bcanim;
using Bytes = std::vector<uint8_t>;

// A file that cannot be read, written or used ends the command with kExitIo.
[[noreturn]] void fail(const std::string& text) {
    std::fprintf(stderr, "bauble: %s\n", text.c_str());
    throw CLI::RuntimeError(kExitIo);
}

Bytes readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) fail("can't read " + path);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

void writeFile(const std::string& path, const void* bytes, size_t n) {
    std::ofstream out(path, std::ios::binary);
    out.write(static_cast<const char*>(bytes), static_cast<std::streamsize>(n));
    if (!out.flush()) fail("can't write " + path);
}

// An indexed PNG as an 8-bit canvas.
std::unique_ptr<PXMemCanvas> loadIndexed(const std::string& path) {
    char why[200] = "";
    std::unique_ptr<PXMemCanvas> canvas(PXPngLoad(path.c_str(), 0, why, sizeof why));
    if (!canvas) fail(path + ": " + why);
    if (canvas->depth != 8) fail(path + " is not an indexed (palette) PNG");
    return canvas;
}

// The canvas's pixels, row after row.
Bytes pixelsOf(const PXMemCanvas& canvas) {
    const int w = canvas.getWidth(), h = canvas.getHeight();
    void* bits = nullptr;
    long pitch = 0;
    if (!canvas.getPointerToMemory(&bits, &pitch)) fail("can't reach a canvas's pixels");
    Bytes px(static_cast<size_t>(w) * static_cast<size_t>(h));
    for (int y = 0; y < h; ++y)
        std::copy_n(static_cast<const uint8_t*>(bits) + y * pitch, w, px.begin() + static_cast<long>(y) * w);
    canvas.releasePointerToMemory();
    return px;
}

std::string jsonText(const std::string& s) {
    std::string out = "\"";
    for (unsigned char c : s) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c < 0x20) {
            char esc[8];
            std::snprintf(esc, sizeof esc, "\\u%04x", c);
            out += esc;
        } else {
            out += static_cast<char>(c);
        }
    }
    return out + "\"";
}

std::string commandName(int16_t cel) {
    switch (cel) {
        case kAOEnd:
            return "kAOEnd";
        case kAOLoop:
            return "kAOLoop";
        case kAOHold:
            return "kAOHold";
        case kAOSound:
            return "kAOSound";
        default:
            break;
    }
    return cel <= kAOFirstUserCommand ? "user" : "none";
}

struct CelStats {
    int32_t width = 0, height = 0;
    size_t bytes = kAOCelHeaderBytes;
    long runs[3] = {}, pixels[3] = {};  // transparent, fill, literal
};

CelStats statsOf(const uint8_t* cel) {
    CelStats s;
    s.width = aoCelWidth(cel);
    s.height = aoCelHeight(cel);
    aoWalkRuns(cel, [&](int32_t, uint8_t control, const uint8_t*, int32_t n) {
        const int kind = control == 0x00 ? 0 : control == 0xFF ? 1 : 2;
        ++s.runs[kind];
        s.pixels[kind] += n;
        s.bytes += kind == 0 ? 2 : kind == 1 ? 3 : 1 + static_cast<size_t>(n);
    });
    return s;
}

void infoText(const std::string& file, uint8_t flag, const AOData& d) {
    std::printf("%s\n", file.c_str());
    std::printf("byte order: %s (flag %u)\n", flag ? "big-endian" : "little-endian", flag);
    std::printf("frames per second: %d%s\n", d.framesPerSecond,
                d.framesPerSecond ? "" : " (each frame its own time)");
    std::printf("embedded position: x %d, y %d, z %d\n", d.embeddedX, d.embeddedY, d.embeddedZ);
    std::printf("%d sequences, %d cels\n", d.numSeqs, d.numCels);
    for (int32_t s = 0; s < d.numSeqs; ++s) {
        std::printf("sequence %d\n", s);
        int32_t e = 0;
        for (const PXAOSequence* p = d.sequences[s];; ++p, ++e) {
            if (p->cel >= 0) {
                std::printf("  %4d  frame of cel %d at (%d, %d), %d ms%s\n", e, p->cel, p->x, p->y, p->param,
                            p->cel < d.numCels ? "" : " (no such cel: shows nothing)");
            } else if (p->cel == kAOSound) {
                std::printf("  %4d  kAOSound %d\n", e, p->param);
            } else if (p->cel <= kAOFirstUserCommand) {
                std::printf("  %4d  user command %d (%d, %d, %d)\n", e, p->cel, p->x, p->y, p->param);
            } else if (commandName(p->cel) == "none") {
                std::printf("  %4d  command %d, passed over\n", e, p->cel);
            } else {
                std::printf("  %4d  %s\n", e, commandName(p->cel).c_str());
            }
            if (p->cel == kAOEnd) break;
        }
    }
    for (int32_t c = 0; c < d.numCels; ++c) {
        CelStats s = statsOf(aoCel(d, c));
        std::printf(
            "cel %d: %d x %d, %zu bytes; runs: %ld transparent (%ld px), %ld fill (%ld px), %ld literal (%ld "
            "px)\n",
            c, s.width, s.height, s.bytes, s.runs[0], s.pixels[0], s.runs[1], s.pixels[1], s.runs[2],
            s.pixels[2]);
    }
}

void infoJson(const std::string& file, uint8_t flag, const AOData& d) {
    std::printf("{\"file\": %s, \"byteOrder\": \"%s\", \"swapFlag\": %u, \"framesPerSecond\": %d,\n",
                jsonText(file).c_str(), flag ? "big-endian" : "little-endian", flag, d.framesPerSecond);
    std::printf(" \"embedded\": {\"x\": %d, \"y\": %d, \"z\": %d},\n \"sequences\": [", d.embeddedX,
                d.embeddedY, d.embeddedZ);
    for (int32_t s = 0; s < d.numSeqs; ++s) {
        std::printf("%s\n  [", s ? "," : "");
        for (const PXAOSequence* p = d.sequences[s];; ++p) {
            std::printf("%s{\"x\": %d, \"y\": %d, \"cel\": %d, \"param\": %d, \"command\": %s}",
                        p == d.sequences[s] ? "" : ", ", p->x, p->y, p->cel, p->param,
                        p->cel >= 0 ? "null" : jsonText(commandName(p->cel)).c_str());
            if (p->cel == kAOEnd) break;
        }
        std::printf("]");
    }
    std::printf("],\n \"cels\": [");
    for (int32_t c = 0; c < d.numCels; ++c) {
        CelStats s = statsOf(aoCel(d, c));
        std::printf(
            "%s\n  {\"width\": %d, \"height\": %d, \"bytes\": %zu, \"transparentRuns\": %ld, "
            "\"transparentPixels\": %ld, \"fillRuns\": %ld, \"fillPixels\": %ld, \"literalRuns\": %ld, "
            "\"literalPixels\": %ld}",
            c ? "," : "", s.width, s.height, s.bytes, s.runs[0], s.pixels[0], s.runs[1], s.pixels[1],
            s.runs[2], s.pixels[2]);
    }
    std::printf("]}\n");
}

void info(const std::string& file, bool json) {
    Bytes bytes = readFile(file);
    const uint8_t flag = bytes.size() > 5 ? bytes[5] : 0;
    AOData d;
    AOProblem why = aoLoadFile(bytes.data(), bytes.size(), d);
    if (why) fail(file + ": animation file refused: " + why.text);
    std::unique_ptr<PXAOSequence*[]> sequences(d.sequences);
    json ? infoJson(file, flag, d) : infoText(file, flag, d);
}

void pack(const std::string& in, const std::string& out, int transparent, const std::string& palette) {
    std::unique_ptr<PXMemCanvas> canvas = loadIndexed(in);
    int32_t size = 0;
    void* file = aoPack(size, canvas.get(), PXRect::zero, transparent);
    if (!file) fail("can't pack " + in);
    writeFile(out, file, static_cast<size_t>(size));
    std::free(file);
    if (!palette.empty()) {
        PXColor colors[kPXPaletteSize];
        canvas->getPalette(colors);
        uint8_t rgb[kAOPaletteBytes];
        aoWritePalette(colors, rgb);
        writeFile(palette, rgb, sizeof rgb);
    }
}

enum class Ending { once, loop, hold };

void build(const std::vector<std::string>& frames, const std::string& out, int fps, Ending ending,
           int transparent) {
    // The hold, the loop and the end entry take three of the 32767 entries.
    if (frames.size() > 0x7FFF - 3) fail("too many frames for one sequence");
    AOFileContents c;
    c.framesPerSecond = static_cast<uint8_t>(fps);
    std::vector<PXAOSequence> seq;
    if (ending == Ending::hold) seq.push_back({0, 0, kAOHold, 0});
    std::map<Bytes, int16_t> known;  // identical frames share one cel
    for (const std::string& name : frames) {
        std::unique_ptr<PXMemCanvas> canvas = loadIndexed(name);
        const int w = canvas->getWidth(), h = canvas->getHeight();
        const Bytes px = pixelsOf(*canvas);
        // The frame keeps only the box around its visible pixels, placed by
        // its offset; a frame with none becomes an empty cel.
        int left = w, top = h, right = 0, bottom = 0;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                if (px[static_cast<size_t>(y * w + x)] != transparent) {
                    left = std::min(left, x), right = std::max(right, x + 1);
                    top = std::min(top, y), bottom = std::max(bottom, y + 1);
                }
        if (right == 0) left = top = 0;
        Bytes cel = aoEncodeCel(px.data() + top * w + left, right - left, bottom - top, w, transparent);
        auto [at, added] = known.emplace(cel, static_cast<int16_t>(c.cels.size()));
        if (added) c.cels.push_back(std::move(cel));
        seq.push_back({static_cast<int16_t>(left), static_cast<int16_t>(top), at->second, 0});
    }
    if (ending != Ending::once) seq.push_back({0, 0, kAOLoop, 0});
    seq.push_back({0, 0, kAOEnd, 0});
    c.sequences.push_back(std::move(seq));
    Bytes file = aoWriteFile(c);
    if (file.empty()) fail("the frames do not fit an animation file");
    writeFile(out, file.data(), file.size());
}

bool endsWithPng(const std::string& name) {
    if (name.size() < 4) return false;
    std::string ext = name.substr(name.size() - 4);
    std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char ch) { return std::tolower(ch); });
    return ext == ".png";
}

// An indexed PNG's palette to a palette file, or a palette file to a 16 x 16
// indexed PNG whose pixel (i % 16, i / 16) is index i, chosen by the output.
void palette(const std::string& in, const std::string& out) {
    if (!endsWithPng(out)) {
        PXColor colors[kPXPaletteSize];
        loadIndexed(in)->getPalette(colors);
        uint8_t rgb[kAOPaletteBytes];
        aoWritePalette(colors, rgb);
        writeFile(out, rgb, sizeof rgb);
        return;
    }
    Bytes bytes = readFile(in);
    uint16_t words[kAOPaletteWords];
    AOProblem why = aoReadPaletteWords(bytes.data(), bytes.size(), words);
    if (why) fail(in + ": palette file refused: " + why.text);
    PXColor colors[kPXPaletteSize];
    for (int i = 0; i < kPXPaletteSize; ++i)
        colors[i] = PXColor(words[3 * i], words[3 * i + 1], words[3 * i + 2], i);
    PXMemCanvas swatch(16, 16, 8, 1);
    void* bits = nullptr;
    long pitch = 0;
    if (!swatch.getPointerToMemory(&bits, &pitch)) fail("can't make the swatch");
    for (int i = 0; i < kPXPaletteSize; ++i)
        static_cast<uint8_t*>(bits)[i / 16 * pitch + i % 16] = static_cast<uint8_t>(i);
    swatch.releasePointerToMemory();
    swatch.setPalette(colors, true);
    if (!PXPngSave(&swatch, out.c_str())) fail("can't write " + out);
}

}  // namespace

void addAoCommands(CLI::App& app) {
    CLI::App* ao = app.add_subcommand("ao", "make and inspect animation (AO) files");
    ao->require_subcommand(1);

    struct Options {
        std::string file, out, palette;
        std::vector<std::string> frames;
        bool json = false, once = false, loop = false, hold = false;
        int transparent = 0, fps = 0;
    };
    auto o = std::make_shared<Options>();

    CLI::App* info =
        ao->add_subcommand("info", "counts, frame rate, byte order, sequences and cels of a file");
    info->add_option("FILE", o->file, "animation file")->required();
    info->add_flag("--json", o->json, "as one JSON object");
    info->callback([o] { bauble::info(o->file, o->json); });

    CLI::App* pack = ao->add_subcommand("pack", "an indexed PNG to a picture file");
    pack->add_option("IN", o->file, "indexed PNG")->required();
    pack->add_option("-o,--output", o->out, "picture file to write")->required();
    pack->add_option("--transparent", o->transparent, "index left transparent, -1 for none (default 0)")
        ->check(CLI::Range(-1, 255));
    pack->add_option("--palette", o->palette, "also write the PNG's palette to this palette file");
    pack->callback([o] { bauble::pack(o->file, o->out, o->transparent, o->palette); });

    CLI::App* build = ao->add_subcommand("build", "one sequence of frames from indexed PNGs");
    build->add_option("FRAME", o->frames, "indexed PNGs, one for each frame")->required();
    build->add_option("-o,--output", o->out, "animation file to write")->required();
    build->add_option("--fps", o->fps, "frames per second, 1 to 255")->required()->check(CLI::Range(1, 255));
    CLI::Option* once = build->add_flag("--once", o->once, "play once, then hide");
    CLI::Option* loop = build->add_flag("--loop", o->loop, "loop for ever (the default)");
    CLI::Option* hold = build->add_flag("--hold", o->hold, "start held on the first frame; loop once played");
    once->excludes(loop, hold);
    loop->excludes(hold);
    build->add_option("--transparent", o->transparent, "index left transparent, -1 for none (default 0)")
        ->check(CLI::Range(-1, 255));
    build->callback([o] {
        Ending ending = o->once ? Ending::once : o->hold ? Ending::hold : Ending::loop;
        bauble::build(o->frames, o->out, o->fps, ending, o->transparent);
    });

    CLI::App* palette =
        app.add_subcommand("palette", "an indexed PNG's palette to a palette file (.rgb), or back");
    palette->add_option("IN", o->file, "indexed PNG, or palette file when OUT ends in .png")->required();
    palette->add_option("-o,--output", o->out, "palette file, or a PNG swatch of the palette")->required();
    palette->callback([o] { bauble::palette(o->file, o->out); });
}

}  // namespace bauble
