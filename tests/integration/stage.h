#ifndef PRODUCT_STORAGE_TESTS_INTEGRATION_STAGE_H
#define PRODUCT_STORAGE_TESTS_INTEGRATION_STAGE_H

#include "common/framework/product_messages.pb.h"
#include "tests/integration/array.h"
#include "tests/integration/cluster.h"
#include "tests/support/files.h"
#include "tests/support/process.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

/// The path of one of our programs, which lie beside the test program or in its folders.
std::string ProgramPath(const std::string& name);

/// Everything that a story needs around the library, for itself alone: a folder, loopback addresses that no other test
/// uses, a configuration, a node with an initiator name and no FC ports whose iscsiadm is the stand-in, arrays and
/// iSCSI targets.
///
/// The node's files are handed to the library's shell commands by a `cat` of our own, first on the shell's path, so
/// that no test needs another user's rights. The library itself runs in the test program; zavctl runs in a product
/// folder inside the test's folder.
class Stage : public ::testing::Test {
protected:
    static constexpr const char* NODE_IQN = "iqn.2020-01.local.node:01";
    static constexpr const char* PASSWORD = "zavsim-admin";
    static constexpr const char* WWPN = "2100000000000001"; ///< of the node's FC port, where it has one

    Stage();
    ~Stage() override;

    /// An address of 127.0.0.0/8 that only this test uses; the same number gives the same address.
    std::string Address(int number) const;

    /// An array with one management address and one service address, unless told otherwise, whose serial number no
    /// other test uses. Lives as long as the test.
    Array& StartArray(ArrayOptions options = {});

    /// The same with a target on each of its service addresses.
    Array& StartServedArray(const ArrayOptions& options = {});

    /// A cluster with two addresses, unless told otherwise. Lives as long as the test.
    Cluster& StartCluster(ClusterOptions options = {});

    /// Starts a target on port 3260 of each address.
    void StartTargets(const std::vector<std::string>& addresses);

    /// The array as an environment: all its management addresses, the encrypted password, a certificate.
    EnvironmentPath EnvironmentOf(const Array& array) const;

    /// The same in a file, for zavctl.
    std::string EnvironmentFileOf(const Array& array) const;

    /// Lets a piece of an environment file's text be another. Throws std::runtime_error when the file has no such
    /// piece.
    static void Change(const std::string& file, const std::string& from, const std::string& to);

    /// The password as an environment has it.
    std::string EncryptedPassword() const;

    /// The node has these FC port names from now on, as sysfs tells them.
    void SetFcPorts(const std::vector<std::string>& portNames) const;

    /// The node has one FC port from now on, in this state, and the array sees it or not.
    void SetFcPort(const Array& array, const std::string& state, bool isSeenByTheArray) const;

    void SetInitiatorFile(const std::string& content) const;

    /// Rewrites the configuration with "section.key" set to a value each; nothing else of the stage's changes.
    void Configure(const std::map<std::string, std::string>& settings);

    /// Runs zavctl to its end in the test's product folder.
    Base::ProgramResult RunZavctl(const Process::Arguments& arguments, const std::string& input = {}) const;

    /// The same without waiting for its end.
    std::unique_ptr<Process> StartZavctl(const Process::Arguments& arguments, const std::string& input = {}) const;

    /// The device-information file of `array` that the library in this program, or zavctl, writes.
    std::string RecordPath(const Array& array) const;
    std::string ZavctlRecordPath(const Array& array) const;

    /// The one record in such a file.
    static std::map<std::string, std::string> ReadRecord(const std::string& path);

    /// What the library logged so far.
    std::string LogText() const;

    const std::string& Directory() const noexcept { return m_folder.Path(); }
    std::string ProductPath(const std::string& name) const { return m_folder.File("product/" + name); }

private:
    std::string CaFolder() const { return m_folder.File("ca"); }
    void TrustCaFolder();
    void MakeNode() const;
    void WriteConfiguration() const;

    const TemporaryFolder m_folder;
    const int m_number; ///< tells the tests that run at the same time apart
    std::map<std::string, std::string> m_settings;
    std::vector<std::unique_ptr<Array>> m_arrays;
    std::vector<std::unique_ptr<Cluster>> m_clusters;
    bool m_hasTargets = false;
};

#endif
