// Input streams whose content is taken whole into memory, and host resources.
//
// A stream never reads past its end: getData brings at most what the source
// holds from the source offset on, and data/size describe exactly that. The
// destructor frees whatever getData brought in.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "pxbase/export.h"

struct PXIStreamInfo {
    uint32_t exists;  // 1 when the file exists and is a regular file
    uint32_t size;    // its size in bytes (saturated at 0xFFFFFFFF)
    uint32_t reserved;
};

class PX_API PXIStream {
public:
    PXIStream() = default;
    PXIStream(const PXIStream&) = delete;
    PXIStream& operator=(const PXIStream&) = delete;

    // Virtual operations in slot order.
    virtual const char* isA() const = 0;
    virtual ~PXIStream();
    // With 0: the whole content from the source offset on; with n > 0, at
    // most n bytes of it. Sets data and size; returns size (0 on failure,
    // with data null).
    virtual uint32_t getData(int n) = 0;
    // Frees what getData brought in.
    virtual void reset();
    // A new, independent stream on the same source; the caller owns it.
    virtual PXIStream* copy() const = 0;
    virtual int isBusy() const { return 0; }
    virtual const char* getFilename() const { return ""; }
    virtual uint32_t getBaseOffset() const { return srcOffset; }

    void setSrcOffset(uint32_t offset) { srcOffset = offset; }

    // Writable: readers of data in the other byte order swap it in place.
    uint8_t* data = nullptr;
    uint32_t size = 0;
    int32_t shareCount = 0;  // users counted by the library
    uint32_t srcOffset = 0;

protected:
    // Takes ownership of a buffer from malloc as the content.
    void adopt(uint8_t* bytes, uint32_t n);
};

class PX_API PXIStreamFile : public PXIStream {
public:
    static const char* const className;  // "PXIStreamFile"
    // Streams refuse files past this size rather than allocate it.
    static constexpr uint32_t kMaxSize = 0x40000000;

    // Opens the file; `n` and `p` are kept for the contract (the library
    // passes -1 and null). A missing file gives a stream whose getData is 0:
    // callers ask getInfo first.
    PXIStreamFile(const char* name, unsigned long n = static_cast<unsigned long>(-1),
                  void* p = nullptr);
    static PXIStreamInfo getInfo(const char* name);

    const char* isA() const override;
    ~PXIStreamFile() override;
    uint32_t getData(int n) override;
    PXIStream* copy() const override;
    const char* getFilename() const override;

    bool isOpen() const { return file_ != nullptr; }

private:
    char* name_;
    std::FILE* file_;
};

// A stream over bytes a host holds in memory. The bytes are copied, so the
// stream does not depend on the host's buffer after construction.
class PX_API PXIStreamMemory : public PXIStream {
public:
    static const char* const className;  // "PXIStreamMemory"

    PXIStreamMemory(const void* bytes, size_t n, const char* name = "");

    const char* isA() const override;
    ~PXIStreamMemory() override;
    uint32_t getData(int n) override;
    PXIStream* copy() const override;
    const char* getFilename() const override;

private:
    uint8_t* source_;
    uint32_t sourceSize_;
    char* name_;
};

enum PXResStatus { PXResOK = 0, PXResNotLocked = 1, PXResNoData = 2 };

// A resource held by the host: a block of bytes that is locked to be read.
// Locks nest; the resource counts them.
class PX_API PXRes {
public:
    PXRes(const void* bytes, size_t n);
    ~PXRes();
    PXRes(const PXRes&) = delete;
    PXRes& operator=(const PXRes&) = delete;

    PXResStatus lock(void** out);
    // One level back; refused when not locked.
    PXResStatus unlock();

    int32_t lockCount() const { return locks_; }
    size_t size() const { return size_; }

private:
    uint8_t* bytes_;
    size_t size_;
    int32_t locks_ = 0;
};

// Identifies a resource by a 16-bit number.
class PX_API PXRscID {
public:
    PXRscID(short number) : number_(number) {}  // NOLINT: converts by design
    PXRscID(const PXRscID&) = default;
    ~PXRscID() = default;
    operator int() const { return number_; }

private:
    short number_;
};
