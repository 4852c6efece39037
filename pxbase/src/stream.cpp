// File and memory streams, and host resources. Content is brought in whole
// (or up to a count) from the source offset; sizes are checked before any
// allocation so a huge or shrinking file cannot make us read out of bounds.
#include "pxbase/stream.h"

#include <sys/stat.h>

#include <cstdlib>
#include <cstring>

namespace {

char* copyText(const char* text) {
    if (!text) text = "";
    size_t n = std::strlen(text) + 1;
    char* out = static_cast<char*>(std::malloc(n));
    if (out) std::memcpy(out, text, n);
    return out;
}

// How many bytes a read of `n` (0: all) from `offset` may take of `total`.
uint32_t span(uint64_t total, uint32_t offset, int n) {
    if (offset >= total) return 0;
    uint64_t left = total - offset;
    if (n > 0 && static_cast<uint64_t>(n) < left) left = static_cast<uint64_t>(n);
    return left > PXIStreamFile::kMaxSize ? 0 : static_cast<uint32_t>(left);
}

}  // namespace

PXIStream::~PXIStream() { std::free(data); }

void PXIStream::reset() {
    std::free(data);
    data = nullptr;
    size = 0;
}

void PXIStream::adopt(uint8_t* bytes, uint32_t n) {
    reset();
    data = bytes;
    size = bytes ? n : 0;
}

const char* const PXIStreamFile::className = "PXIStreamFile";

PXIStreamFile::PXIStreamFile(const char* name, unsigned long, void*)
    : name_(copyText(name)), file_(name ? std::fopen(name, "rb") : nullptr) {}

PXIStreamFile::~PXIStreamFile() {
    if (file_) std::fclose(file_);
    std::free(name_);
}

PXIStreamInfo PXIStreamFile::getInfo(const char* name) {
    PXIStreamInfo info{0, 0, 0};
    struct stat st;
    if (name && ::stat(name, &st) == 0 && S_ISREG(st.st_mode)) {
        info.exists = 1;
        info.size = st.st_size > 0xFFFFFFFF ? 0xFFFFFFFFu : static_cast<uint32_t>(st.st_size);
    }
    return info;
}

const char* PXIStreamFile::isA() const { return className; }

uint32_t PXIStreamFile::getData(int n) {
    reset();
    if (!file_) return 0;
    struct stat st;
    if (::fstat(fileno(file_), &st) != 0 || st.st_size < 0) return 0;
    uint32_t want = span(static_cast<uint64_t>(st.st_size), srcOffset, n);
    if (want == 0 || std::fseek(file_, static_cast<long>(srcOffset), SEEK_SET) != 0) return 0;
    auto* bytes = static_cast<uint8_t*>(std::malloc(want));
    if (!bytes) return 0;
    // The file may have shrunk since fstat: keep what was really read.
    size_t got = std::fread(bytes, 1, want, file_);
    if (got == 0) {
        std::free(bytes);
        return 0;
    }
    adopt(bytes, static_cast<uint32_t>(got));
    return size;
}

PXIStream* PXIStreamFile::copy() const {
    auto* twin = new PXIStreamFile(name_);
    twin->setSrcOffset(srcOffset);
    return twin;
}

const char* PXIStreamFile::getFilename() const { return name_ ? name_ : ""; }

const char* const PXIStreamMemory::className = "PXIStreamMemory";

PXIStreamMemory::PXIStreamMemory(const void* bytes, size_t n, const char* name)
    : source_(nullptr), sourceSize_(0), name_(copyText(name)) {
    if (bytes && n > 0 && n <= PXIStreamFile::kMaxSize) {
        source_ = static_cast<uint8_t*>(std::malloc(n));
        if (source_) {
            std::memcpy(source_, bytes, n);
            sourceSize_ = static_cast<uint32_t>(n);
        }
    }
}

PXIStreamMemory::~PXIStreamMemory() {
    std::free(source_);
    std::free(name_);
}

const char* PXIStreamMemory::isA() const { return className; }

uint32_t PXIStreamMemory::getData(int n) {
    reset();
    uint32_t want = span(sourceSize_, srcOffset, n);
    if (want == 0) return 0;
    auto* bytes = static_cast<uint8_t*>(std::malloc(want));
    if (!bytes) return 0;
    std::memcpy(bytes, source_ + srcOffset, want);
    adopt(bytes, want);
    return size;
}

PXIStream* PXIStreamMemory::copy() const {
    auto* twin = new PXIStreamMemory(source_, sourceSize_, name_);
    twin->setSrcOffset(srcOffset);
    return twin;
}

const char* PXIStreamMemory::getFilename() const { return name_ ? name_ : ""; }

PXRes::PXRes(const void* bytes, size_t n) : bytes_(nullptr), size_(0) {
    if (bytes && n > 0) {
        bytes_ = static_cast<uint8_t*>(std::malloc(n));
        if (bytes_) {
            std::memcpy(bytes_, bytes, n);
            size_ = n;
        }
    }
}

PXRes::~PXRes() { std::free(bytes_); }

PXResStatus PXRes::lock(void** out) {
    if (out) *out = bytes_;
    if (!bytes_) return PXResNoData;
    ++locks_;
    return PXResOK;
}

PXResStatus PXRes::unlock() {
    if (locks_ == 0) return PXResNotLocked;
    --locks_;
    return PXResOK;
}
