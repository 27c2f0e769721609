#ifndef PRODUCT_STORAGE_TESTS_HOST_NODE_H
#define PRODUCT_STORAGE_TESTS_HOST_NODE_H

#include "device/device_operate.h"
#include "tests/support/files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

/// A node whose files and iSCSI sessions the test chooses, seen by the library through real shells, and, when the test
/// has a parameter, with the awk that it names.
///
/// Where the system permits it, the files lie where they belong, in this process's own view of the file system.
/// Elsewhere a `cat` of the tests reads them from the test's folder for the machine's own cat.
class Node : public ::testing::Test {
protected:
    Node();
    ~Node() override;

    /// From now on the shells' `awk` is this one.
    void UseAwk(const std::string& name) const;

    /// Where the test finds or makes what the node has at `path`.
    std::string PathOf(const std::string& path) const { return m_root + path; }

    /// Writes a file of the node, with the folders above it.
    void WriteNodeFile(const std::string& path, const std::string& text) const;

    /// `iscsiadm -m session -P 1` does this; any other call of iscsiadm fails the test.
    void ListsSessions(const std::string& output, const std::string& errors = {}, int status = 0) const;

    /// What a command gives on its standard output, line by line.
    static std::vector<std::string> Run(const std::string& command);

    static constexpr const char* INITIATOR_FILE = "/etc/iscsi/initiatorname.iscsi";

    DeviceOperate m_device;

private:
    void MakeProgram(const std::string& name, const std::string& script) const;

    const TemporaryFolder m_folder;
    const std::string m_root; // empty: the file system's own
};

/// The same for each awk that a node may have.
class AwkNode : public Node, public ::testing::WithParamInterface<const char*> {
protected:
    void SetUp() override { UseAwk(GetParam()); }
};

#define INSTANTIATE_FOR_EACH_AWK(suite)                                                                                \
    INSTANTIATE_TEST_SUITE_P(Awk, suite, ::testing::Values("mawk", "gawk"),                                            \
                             [](const auto& row) { return std::string(row.param); })

#endif
