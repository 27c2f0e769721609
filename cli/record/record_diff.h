#ifndef PRODUCT_STORAGE_CLI_RECORD_RECORD_DIFF_H
#define PRODUCT_STORAGE_CLI_RECORD_RECORD_DIFF_H

#include "cli/array/array_login.h"

#include <string>
#include <vector>

/// One line of a record held against its array. Texts of an array may hold any character.
struct DiffLine {
    enum class Side { Both, Record, Array };

    Side side;        ///< who says so
    std::string text; ///< "host 1 (its name)", "host 1 in host group 1"
};

/// Objects, what they are in and initiators: as the record names them, as the array has them, and what the array has
/// beside them in the same places. Changes nothing. Throws Failure when record or array cannot be read.
std::vector<DiffLine> RecordAgainstArray(const ArrayLogin& login);

#endif
