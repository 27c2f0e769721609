#ifndef PRODUCT_STORAGE_TESTS_SUPPORT_NAMED_ROW_H
#define PRODUCT_STORAGE_TESTS_SUPPORT_NAMED_ROW_H

#include <gtest/gtest.h>

#include <ostream>
#include <string>

/// One row of a table-driven test; its name is the case's.
struct NamedRow {
    std::string name;

    friend std::ostream& operator<<(std::ostream& out, const NamedRow& row) { return out << row.name; }
};

template <typename Row>
std::string RowName(const ::testing::TestParamInfo<Row>& row)
{
    return row.param.name;
}

#endif
