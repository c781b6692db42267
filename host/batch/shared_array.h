// shared_array.h - numbers that worker processes leave for the process that started them.
//
// Lifetime: workers that are forked while the array exists share it.
// Threads:  each element belongs to one worker until the workers have ended.

#pragma once

#include <sys/mman.h>

#include <cerrno>
#include <cstddef>
#include <system_error>
#include <type_traits>

template <typename Element>
class SharedArray {
  public:
    // Elements of zero bytes. Throws std::system_error.
    explicit SharedArray(std::size_t count) : bytes_((count + 1) * sizeof(Element)) {
        void* memory = mmap(nullptr, bytes_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) {
            throw std::system_error(errno, std::generic_category(), "cannot allocate shared memory");
        }
        elements_ = static_cast<Element*>(memory);
    }
    ~SharedArray() { munmap(elements_, bytes_); }
    SharedArray(const SharedArray&) = delete;
    SharedArray& operator=(const SharedArray&) = delete;

    Element& operator[](std::size_t index) const { return elements_[index]; }

  private:
    static_assert(std::is_trivially_copyable_v<Element>);

    std::size_t bytes_;
    Element* elements_;
};
