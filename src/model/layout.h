// Sizes and field offsets of the model's objects. Programs build such objects themselves, so
// the layout is part of the interface, for pointers of four and of eight bytes.
#pragma once

#include <cstddef>

static_assert(sizeof(void *) == 4 || sizeof(void *) == 8);

constexpr size_t byPointerSize(size_t with4Bytes, size_t with8Bytes)
{
    return sizeof(void *) == 4 ? with4Bytes : with8Bytes;
}

#define LIES_AT(Object, field, ...)                                                                \
    static_assert(offsetof(Object, field) == byPointerSize(__VA_ARGS__))

#define OBJECT_SIZE(Object, ...) static_assert(sizeof(Object) == byPointerSize(__VA_ARGS__))
