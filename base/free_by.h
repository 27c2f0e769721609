#ifndef PRODUCT_STORAGE_BASE_FREE_BY_H
#define PRODUCT_STORAGE_BASE_FREE_BY_H

namespace Base {

/// Gives an object of a C library back by its own function.
template <auto Function>
struct FreeBy {
    template <typename Type>
    void operator()(Type* object) const noexcept
    {
        Function(object);
    }
};

} // namespace Base

#endif
