#ifndef PRODUCT_STORAGE_TESTS_UNIT_REST_JSON_VALUES_H
#define PRODUCT_STORAGE_TESTS_UNIT_REST_JSON_VALUES_H

#include "common/json_text.h"

#include <gtest/gtest.h>

#include <exception>
#include <string>

inline Json::Value FromText(const std::string& text)
{
    Json::Value value;
    EXPECT_TRUE(JsonText::Parse(text, value)) << text;
    return value;
}

/// The text of the exception that `action` throws; empty when it throws none.
template <typename Action>
std::string ErrorOf(const Action& action)
{
    try {
        action();
    } catch (const std::exception& error) {
        return error.what();
    }
    return "";
}

#endif
