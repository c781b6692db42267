// string.cpp - strings, and the copies of their bytes that modules read.

#include "host/runtime/string.h"

#include <cstdlib>
#include <cstring>

#include "host/runtime/environment.h"

namespace host {

StringReference NewString(std::string_view bytes, std::uint32_t encoding) {
    auto reference = StringReference::Adopt(new ZEVAstringStruct{1, encoding, std::string(bytes)});
    Environment::Current().StringCreated(reference.Get());
    return reference;
}

void Lock(ZEVAstringStruct* string) {
    if (string != nullptr) ++string->references;
}

void Unlock(ZEVAstringStruct* string) {
    if (string == nullptr || --string->references > 0) return;
    Environment::Current().StringDestroyed();
    delete string;
}

bool LendBytes(const ZEVAstringStruct& string, ZEVAstringData* data) {
    const std::size_t size = string.bytes.size();
    void* bytes = std::malloc(size + 1);
    if (bytes == nullptr) return false;
    std::memcpy(bytes, string.bytes.c_str(), size + 1);
    *data = {bytes, {}};
    data->hostWords[kStringDataLength] = static_cast<ZEVAword>(size);
    data->hostWords[kStringDataEncoding] = static_cast<ZEVAword>(string.encoding);
    return true;
}

void TakeBackBytes(ZEVAstringData* data) {
    std::free(data->bytes);
    *data = {};
}

}  // namespace host
