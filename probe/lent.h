// lent.h - the bytes of a string, lent by the host for as long as a check looks at them.

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "interface/string_data.h"
#include "plugin/host_services.h"
#include "probe/memory.h"

namespace probe {

class Lent {
  public:
    // A null string has no bytes.
    explicit Lent(ZEVAstringStruct* string) {
        if (string != nullptr) result_ = ZEVAGetStringData(string, &data_);
    }
    ~Lent() {
        if (result_ != 0) ZEVADisposeStringData(&data_);
    }
    Lent(const Lent&) = delete;
    Lent& operator=(const Lent&) = delete;

    // Whether the string has exactly these bytes.
    [[nodiscard]] bool Has(const char* bytes, std::size_t length) const {
        return result_ != 0 && Length() == static_cast<long>(length) && IsEqual(data_.bytes, bytes, length);
    }
    [[nodiscard]] bool Has(const char* text) const { return Has(text, std::strlen(text)); }

    long Length() const { return static_cast<long>(data_.hostWords[kStringDataLength]); }
    std::uint32_t Encoding() const { return static_cast<std::uint32_t>(data_.hostWords[kStringDataEncoding]); }

    // What the host returned: 1 when it lent the bytes.
    std::int32_t Result() const { return result_; }
    const void* Address() const { return data_.bytes; }

  private:
    std::int32_t result_ = 0;
    ZEVAstringData data_ = {};
};

}  // namespace probe
