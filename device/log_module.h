#ifndef PRODUCT_STORAGE_DEVICE_LOG_MODULE_H
#define PRODUCT_STORAGE_DEVICE_LOG_MODULE_H

#include <string>

/// The module that all code about the device logs as, whatever its class is called.
inline const std::string LOG_MODULE = "DeviceSetOperator";

#endif
