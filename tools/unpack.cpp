#include "tools/unpack.h"

#include <algorithm>
#include <array>
#include <span>
#include <utility>

#include "platform/ipmi_access/capture_file.h"
#include "platform/ipmi_access/ipmi_access_host.h"

#ifdef FE_ZLIB
#include <zlib.h>
#endif
#ifdef FE_LZMA
#include <lzma.h>
#endif

namespace {

using Bytes = std::vector<uint8_t>;

constexpr std::array<uint8_t, 2> gzip_magic = {0x1F, 0x8B};
constexpr std::array<uint8_t, 6> xz_magic = {0xFD, '7', 'z', 'X', 'Z', 0x00};

bool starts_with(std::span<const uint8_t> bytes, std::span<const uint8_t> magic) {
    return bytes.size() >= magic.size() && std::ranges::equal(bytes.first(magic.size()), magic);
}

[[noreturn, maybe_unused]] void fail(const std::string &path, const std::string &what) {
    throw ipmi_access::CaptureError(path + ": " + what);
}

// Runs `step` until it is done; that unpacks more into the block and returns how many bytes of it, or none at the end.
template <class Step>
Bytes collect(const std::string &path, Step step) {
    Bytes all;
    uint8_t block[16384];
    while (const size_t got = step(block, sizeof block)) {
        all.insert(all.end(), block, block + got);
        if (all.size() > ipmi_access::max_capture_size) {
            fail(path, "unpacked it is larger than any capture");
        }
    }
    return all;
}

#ifdef FE_ZLIB
Bytes gunzip(Bytes packed, const std::string &path) {
    z_stream stream{};
    constexpr int gzip_only = 16 + MAX_WBITS;
    if (inflateInit2(&stream, gzip_only) != Z_OK) {
        fail(path, "no memory to unpack it");
    }
    const struct End {
        ~End() { inflateEnd(stream); }
        z_stream *stream;
    } end{&stream};
    stream.next_in = packed.data();
    stream.avail_in = static_cast<uInt>(packed.size());
    bool ended = false;
    return collect(path, [&](uint8_t *block, size_t size) {
        stream.next_out = block;
        stream.avail_out = static_cast<uInt>(size);
        while (stream.avail_out == size && !(ended && stream.avail_in == 0)) {
            if (std::exchange(ended, false)) {
                inflateReset(&stream); // files may be packed one behind the other
            }
            const int result = inflate(&stream, Z_NO_FLUSH);
            ended = result == Z_STREAM_END;
            if (result != Z_OK && !ended) {
                fail(path, "the gzip file is torn");
            }
        }
        return size - stream.avail_out;
    });
}
#endif

#ifdef FE_LZMA
Bytes unxz(const Bytes &packed, const std::string &path) {
    lzma_stream stream = LZMA_STREAM_INIT;
    constexpr uint64_t most_memory = uint64_t{128} << 20;
    if (lzma_stream_decoder(&stream, most_memory, LZMA_CONCATENATED) != LZMA_OK) {
        fail(path, "no memory to unpack it");
    }
    const struct End {
        ~End() { lzma_end(stream); }
        lzma_stream *stream;
    } end{&stream};
    stream.next_in = packed.data();
    stream.avail_in = packed.size();
    bool ended = false;
    return collect(path, [&](uint8_t *block, size_t size) {
        stream.next_out = block;
        stream.avail_out = size;
        while (!ended && stream.avail_out == size) {
            const lzma_ret result = lzma_code(&stream, LZMA_FINISH);
            ended = result == LZMA_STREAM_END;
            if (result != LZMA_OK && !ended) {
                fail(path, "the xz file is torn");
            }
        }
        return size - stream.avail_out;
    });
}
#endif

} // namespace

Bytes unpacked(Bytes bytes, const std::string &path) {
    if (starts_with(bytes, gzip_magic)) {
#ifdef FE_ZLIB
        return gunzip(std::move(bytes), path);
#else
        fail(path, "packed by gzip, and this fectl was built without zlib");
#endif
    }
    if (starts_with(bytes, xz_magic)) {
#ifdef FE_LZMA
        return unxz(bytes, path);
#else
        fail(path, "packed by xz, and this fectl was built without liblzma");
#endif
    }
    return bytes;
}
