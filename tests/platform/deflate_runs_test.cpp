// deflate_runs_test.cpp - what is compressed, decompressed by zlib.

#include "platform/ImageIO/deflate_runs.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kBlockBytes = 65535;

Bytes Compressed(const Bytes& bytes) {
    Bytes stream;
    image_io::DeflateRuns(bytes.data(), bytes.size(), /*isLast=*/true, stream);
    return stream;
}

// The bytes of a whole stream; none if it is broken, does not end, or ends before its last byte.
Bytes Decompressed(Bytes stream, std::size_t count) {
    z_stream zlib = {};
    EXPECT_EQ(inflateInit2(&zlib, -15), Z_OK);
    Bytes bytes(count + 1);
    zlib.next_in = stream.data();
    zlib.avail_in = static_cast<uInt>(stream.size());
    zlib.next_out = bytes.data();
    zlib.avail_out = static_cast<uInt>(bytes.size());
    const int status = inflate(&zlib, Z_FINISH);
    EXPECT_EQ(zlib.avail_in, 0u);
    bytes.resize(status == Z_STREAM_END ? zlib.total_out : 0);
    inflateEnd(&zlib);
    return bytes;
}

void ExpectThatItReturns(const Bytes& bytes) {
    EXPECT_TRUE(Decompressed(Compressed(bytes), bytes.size()) == bytes) << bytes.size() << " bytes";
}

Bytes Noise(std::size_t count, unsigned values) {
    std::mt19937 random(count + values);
    Bytes bytes(count);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random() % values);
    return bytes;
}

TEST(DeflateRuns, EveryLengthOfARunReturns) {
    for (std::size_t length = 1; length <= 600; ++length) {
        Bytes bytes = {1, 2, 3};
        bytes.insert(bytes.end(), length, 9);
        bytes.push_back(4);
        ExpectThatItReturns(bytes);
        ExpectThatItReturns(Bytes(length, 0));
    }
}

TEST(DeflateRuns, BlocksAndTheirBordersReturn) {
    for (const std::size_t count : {kBlockBytes - 1, kBlockBytes, kBlockBytes + 1, 3 * kBlockBytes + 7}) {
        ExpectThatItReturns(Bytes(count, 5));
        for (const unsigned values : {2u, 3u, 17u, 256u}) ExpectThatItReturns(Noise(count, values));
    }
}

// The bytes occur so unevenly that Huffman's code of the rarest would have 18 bits. The format allows 15.
TEST(DeflateRuns, CodesAreNotTooLong) {
    Bytes bytes;
    std::size_t occurrences = 1, next = 3;
    for (std::uint8_t value = 0; bytes.size() + occurrences < kBlockBytes; ++value) {
        bytes.insert(bytes.end(), occurrences, value);
        const std::size_t sum = occurrences + next + 1;
        occurrences = next;
        next = sum;
    }
    std::shuffle(bytes.begin(), bytes.end(), std::mt19937(1));
    ExpectThatItReturns(bytes);
}

TEST(DeflateRuns, NoiseGrowsByFiveBytesForEachBlock) {
    EXPECT_EQ(Compressed(Noise(3 * kBlockBytes, 256)).size(), 3 * (kBlockBytes + 5));
}

// Each part but the last one ends at a byte border and leaves the stream open.
TEST(DeflateRuns, PartsJoinToOneStream) {
    Bytes all, stream;
    for (int part = 0; part < 5; ++part) {
        const Bytes bytes = Noise(1000 + 77 * static_cast<std::size_t>(part), part % 2 == 0 ? 7 : 256);
        image_io::DeflateRuns(bytes.data(), bytes.size(), /*isLast=*/part == 4, stream);
        all.insert(all.end(), bytes.begin(), bytes.end());
    }
    EXPECT_TRUE(Decompressed(stream, all.size()) == all);
}

// The differences of a photo's pixels: most of them small, some of them equal.
TEST(DeflateRuns, StreamsAreAtMostTwoPercentLargerThanThoseOfZlib) {
    std::mt19937 random(3);
    Bytes bytes(200000);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>((random() % 9) * (random() % 5) / 4 - 4);
    std::fill(bytes.begin() + 50000, bytes.begin() + 80000, 0);
    z_stream zlib = {};
    ASSERT_EQ(deflateInit2(&zlib, 1, Z_DEFLATED, -15, 9, Z_RLE), Z_OK);
    Bytes others(bytes.size());
    zlib.next_in = bytes.data();
    zlib.avail_in = static_cast<uInt>(bytes.size());
    zlib.next_out = others.data();
    zlib.avail_out = static_cast<uInt>(others.size());
    ASSERT_EQ(deflate(&zlib, Z_FINISH), Z_STREAM_END);
    EXPECT_LE(Compressed(bytes).size(), zlib.total_out * 102 / 100);
    deflateEnd(&zlib);
}

}  // namespace
