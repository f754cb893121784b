// The bytes of one fuzz input, read from front to back. Past the end every number is 0
// and every text empty, so that no input is too short.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace fuzz {

// Ends the run as a finding.
inline void require(bool holds, const char *what)
{
    if (holds)
        return;
    fprintf(stderr, "does not hold: %s\n", what);
    abort();
}

class Input {
public:
    Input(const uint8_t *bytes, size_t size) : next(bytes), left(size) {}

    [[nodiscard]] bool empty() const { return left == 0; }

    template <class Number>
    Number number()
    {
        Number value{};
        fill(&value, sizeof(value));
        return value;
    }

    uint8_t byte() { return number<uint8_t>(); }

    // From 0 to `count` - 1.
    size_t below(size_t count) { return byte() % count; }

    // An element of a list.
    template <class Value, size_t N>
    const Value &pick(const Value (&values)[N])
    {
        return values[below(N)];
    }

    // Copies the remaining input, up to `size` bytes; the rest keeps its values.
    void fill(void *to, size_t size)
    {
        const size_t length = std::min(size, left);
        if (length != 0)
            memcpy(to, next, length);
        next += length;
        left -= length;
    }

    // One byte of length, then that many bytes.
    std::string text() { return bytes(byte()); }

    std::string rest() { return bytes(left); }

private:
    std::string bytes(size_t size)
    {
        std::string taken(std::min(size, left), '\0');
        fill(taken.data(), taken.size());
        return taken;
    }

    const uint8_t *next;
    size_t left;
};

// Bytes in a block of exactly their size, so that a sanitizer detects a read or write
// beyond them.
class Block {
public:
    explicit Block(const std::string &bytes)
        : begin(static_cast<char *>(malloc(bytes.size()))), length(bytes.size())
    {
        if (length != 0)
            memcpy(begin, bytes.data(), length);
    }
    ~Block() { free(begin); }
    Block(const Block &) = delete;
    Block &operator=(const Block &) = delete;

    [[nodiscard]] char *data() const { return begin; }
    [[nodiscard]] size_t size() const { return length; }

private:
    char *begin;
    size_t length;
};

} // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size);
