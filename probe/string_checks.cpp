// string_checks.cpp - whether strings keep their bytes and encodings, and how the host lends the bytes.

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "interface/text_encoding.h"
#include "probe/check.h"
#include "probe/held.h"
#include "probe/lent.h"

namespace probe {

namespace {

// Fails unless a string made of the bytes has these bytes.
void ExpectKept(Finding& finding, const char* bytes, std::size_t length) {
    const String string(bytes, length);
    if (!string) return finding.Fail("%d bytes: expected a string, got null", static_cast<int>(length));
    const Lent lent(string.Get());
    if (lent.Length() != static_cast<long>(length)) {
        return finding.Fail("%d bytes: expected this length, got %ld", static_cast<int>(length), lent.Length());
    }
    if (!lent.Has(bytes, length)) finding.Fail("%d bytes: expected the same bytes", static_cast<int>(length));
}

// Gives a string an encoding, and fails unless it has it then.
void ExpectEncoding(Finding& finding, const String& string, std::uint32_t encoding) {
    string.SetEncoding(encoding);
    const std::uint32_t got = Lent(string.Get()).Encoding();
    if (got != encoding) finding.Fail("expected encoding 0x%x, got 0x%x", encoding, got);
}

template <std::size_t kSize>
String Make(const char (&text)[kSize]) {
    return String(text, kSize - 1);
}

// The encodings that the interface names.
constexpr std::uint32_t kEncodings[] = {kEncodingAscii, kEncodingUtf8};

// Bytes that are valid in neither.
constexpr char kInvalid[] = "caf\xe9 \xff\xfe";

}  // namespace

void StringMade(Finding& finding) {
    if (finding.Lacks<service::ZEVABuildString, service::PluginGetStringData, service::ZEVAUnlockString>()) return;
    ExpectKept(finding, "a kettle", 8);
}

void EmptyString(Finding& finding) { ExpectKept(finding, "", 0); }

void StringCopies(Finding& finding) {
    static char bytes[] = "before";
    const String string = Make(bytes);
    std::memset(bytes, '#', sizeof bytes - 1);
    if (!Lent(string.Get()).Has("before")) finding.Fail("expected the bytes as they were before");
}

void NoTerminator(Finding& finding) { ExpectKept(finding, &"no kettle yet"[3], 6); }

void ZeroBytes(Finding& finding) {
    ExpectKept(finding, "in\0side", 7);
    ExpectKept(finding, "\0before", 7);
    ExpectKept(finding, "behind\0", 7);
    ExpectKept(finding, "\0\0\0", 3);
}

void EveryByte(Finding& finding) {
    static char bytes[256];
    for (std::size_t i = 0; i < 255; ++i) bytes[i] = static_cast<char>(i + 1);
    ExpectKept(finding, bytes, 255);
}

void StringSizes(Finding& finding) {
    constexpr std::size_t kLengths[] = {1, 2, 3, 15, 16, 17, 255, 256, 257, 4095, 4097, 65535, 65537, 1000001};
    constexpr std::size_t kLargest = kLengths[std::size(kLengths) - 1];
    auto* bytes = static_cast<char*>(std::calloc(kLargest + 1, 1));
    if (bytes == nullptr) return finding.Skip("there is no memory for %d bytes", static_cast<int>(kLargest));
    std::size_t filled = 0;
    for (const std::size_t size : kLengths) {
        for (; filled < size; ++filled) bytes[filled] = static_cast<char>('a' + filled % 26);
        ExpectKept(finding, bytes, size);
    }
    std::free(bytes);
}

void EncodingKept(Finding& finding) {
    if (finding.Lacks<service::ZEVASetStringEncoding>()) return;
    for (const std::uint32_t encoding : kEncodings) {
        ExpectEncoding(finding, Make("kettle"), encoding);
    }
}

void AnyEncoding(Finding& finding) {
    constexpr std::uint32_t kOthers[] = {0x0A01, 0x7FFFFFFF, 0xFFFFFFFF};
    for (const std::uint32_t encoding : kOthers) {
        ExpectEncoding(finding, Make("kettle"), encoding);
    }
}

void EncodingUnchecked(Finding& finding) {
    for (const std::uint32_t encoding : kEncodings) {
        ExpectEncoding(finding, Make(kInvalid), encoding);
    }
}

void EncodingReplaced(Finding& finding) {
    const String string = Make("kettle");
    for (int i = 0; i < 3; ++i) ExpectEncoding(finding, string, kEncodings[i % 2]);
}

void EncodedBytes(Finding& finding) {
    if (finding.Lacks<service::ZEVASetStringEncoding>()) return;
    for (const std::uint32_t encoding : kEncodings) {
        const String string = Make(kInvalid);
        string.SetEncoding(encoding);
        if (!Lent(string.Get()).Has(kInvalid)) finding.Fail("encoding 0x%x: expected the same bytes", encoding);
    }
}

void LendingResult(Finding& finding) {
    const String string = Make("kettle");
    const Lent lent(string.Get());
    if (lent.Result() != 1) finding.Fail("expected 1, got %d", lent.Result());
}

void SpareWords(Finding& finding) {
    const String string = Make("kettle");
    ZEVAstringData data;
    std::memset(&data, 0x55, sizeof data);
    if (!string || ZEVAGetStringData(string.Get(), &data) == 0) return finding.Fail("expected 1, got 0");
    for (int i = kStringDataEncoding + 1; i < 4; ++i) {
        const auto word = static_cast<long>(data.hostWords[i]);
        if (word != 0) finding.Fail("host word %d: expected 0, got %ld", i, word);
    }
    ZEVADisposeStringData(&data);
}

void LentAligned(Finding& finding) {
    constexpr std::uintptr_t kAlignment = 2 * sizeof(void*);
    for (std::size_t length = 1; length <= 9; ++length) {
        const String string("malloc-ed", length);
        const Lent lent(string.Get());
        const auto rest = static_cast<int>(reinterpret_cast<std::uintptr_t>(lent.Address()) % kAlignment);
        if (rest != 0) {
            return finding.Fail("expected an address that is a multiple of %d, got one %d bytes behind",
                                static_cast<int>(kAlignment), rest);
        }
    }
}

void LentTwice(Finding& finding) {
    const String string = Make("kettle");
    const Lent first(string.Get()), second(string.Get());
    if (!first.Has("kettle")) return finding.Fail("expected the bytes at the first lending to stay");
    if (!second.Has("kettle")) finding.Fail("expected the bytes at the second lending");
}

void LentAgain(Finding& finding) {
    const String string = Make("kettle");
    for (int i = 1; i <= 5; ++i) {
        if (!Lent(string.Get()).Has("kettle")) return finding.Fail("expected the bytes at lending %d", i);
    }
}

}  // namespace probe
