// Objects that a test builds itself, each ending where the next page may not be touched.
#pragma once

#include <cstddef>

namespace platform {

// Zeroed memory whose last byte is the last one that may be read. Under a sanitizer that
// sees a step beyond an object of the heap it is one of those.
void *guardedNew(size_t size);

// Gives such an object back, also when the library frees it. False for any other address.
bool guardedDelete(void *object);

template <class Type>
Type *guarded()
{
    return static_cast<Type *>(guardedNew(sizeof(Type)));
}

} // namespace platform
