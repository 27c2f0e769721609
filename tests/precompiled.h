#ifndef PRODUCT_STORAGE_TESTS_PRECOMPILED_H
#define PRODUCT_STORAGE_TESTS_PRECOMPILED_H

// What is costly to read and in nearly every test. No source relies on it: the clang build does without it.

#include <boost/make_shared.hpp>
#include <boost/thread/thread.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <json/json.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#endif
