#ifndef PRODUCT_STORAGE_FRAMEWORK_SUPPORT_IMMORTAL_H
#define PRODUCT_STORAGE_FRAMEWORK_SUPPORT_IMMORTAL_H

#include <memory>

namespace Framework {

/// The process's only `Type`, made at its first use and never destroyed: the destructors of static objects in other
/// libraries still log, and so still read the configuration.
template <typename Type>
Type& Immortal()
{
    static Type* const object = std::make_unique<Type>().release();
    return *object;
}

} // namespace Framework

#endif
