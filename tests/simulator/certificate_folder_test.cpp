#include "simulator/http/certificate_folder.h"

#include "tests/support/files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include <sys/stat.h>

namespace ZavSim {
namespace {

using ::testing::HasSubstr;

class CertificateFolderTest : public ::testing::Test {
protected:
    std::string ComplaintOfOpening(const std::string& where)
    {
        try {
            const CertificateFolder opened(where);
            return "";
        } catch (const std::runtime_error& error) {
            return error.what();
        }
    }

    TemporaryFolder folder;
    const std::string path = folder.File("ca");
};

TEST_F(CertificateFolderTest, OpenMakesAnAuthorityOnceAndKeepsIt)
{
    CertificateFolder(path).ServerContext("127.0.0.1");
    const std::string authority = folder.Read("ca/ca.pem");
    const std::string server = folder.Read("ca/server-127.0.0.1.pem");
    EXPECT_THAT(authority, HasSubstr("BEGIN CERTIFICATE"));
    CertificateFolder(path).ServerContext("127.0.0.1");
    EXPECT_EQ(authority, folder.Read("ca/ca.pem"));
    EXPECT_EQ(server, folder.Read("ca/server-127.0.0.1.pem"));
}

TEST_F(CertificateFolderTest, PrivateKeysAreForTheOwnerAlone)
{
    CertificateFolder(path).ServerContext("::1");
    for (const char* const name : {"ca/ca.key", "ca/server-__1.key"}) {
        struct stat status = {};
        ASSERT_EQ(0, ::stat(folder.File(name).c_str(), &status)) << name;
        EXPECT_EQ(0600U, status.st_mode & 07777U) << name;
    }
}

TEST_F(CertificateFolderTest, ServerCertificateIsForItsAddressOnly)
{
    const Identity authority = MakeAuthority();
    const Identity server = MakeServerIdentity(authority, "127.0.0.1");
    EXPECT_TRUE(IsUsableFor(server, authority, "127.0.0.1"));
    EXPECT_FALSE(IsUsableFor(server, authority, "127.0.0.2"));
    EXPECT_FALSE(IsUsableFor(server, MakeAuthority(), "127.0.0.1"));
}

TEST_F(CertificateFolderTest, DamagedServerCertificateIsMadeAnewUnderTheSameAuthority)
{
    CertificateFolder(path).ServerContext("127.0.0.1");
    folder.Write("ca/server-127.0.0.1.pem", "rubbish");
    CertificateFolder(path).ServerContext("127.0.0.1");
    EXPECT_THAT(folder.Read("ca/server-127.0.0.1.pem"), HasSubstr("BEGIN CERTIFICATE"));
}

TEST_F(CertificateFolderTest, DamagedAuthorityIsAnErrorAndStaysAsItIs)
{
    CertificateFolder make(path);
    folder.Write("ca/ca.pem", "rubbish");
    EXPECT_THAT(ComplaintOfOpening(path), HasSubstr(path + "/ca.pem: not a certificate in PEM form"));
    EXPECT_EQ("rubbish", folder.Read("ca/ca.pem"));
    std::filesystem::remove(path + "/ca.pem");
    EXPECT_THAT(ComplaintOfOpening(path), HasSubstr("ca.pem is missing beside"));
}

TEST_F(CertificateFolderTest, ForeignKeyBesideTheAuthorityIsAnError)
{
    CertificateFolder make(path);
    CertificateFolder other(folder.File("other"));
    folder.Write("ca/ca.key", folder.Read("other/ca.key"));
    EXPECT_THAT(ComplaintOfOpening(path), HasSubstr("do not belong together"));
}

TEST_F(CertificateFolderTest, FolderThatCannotBeMadeIsNamed)
{
    EXPECT_THAT(ComplaintOfOpening(folder.File("no/ca")), HasSubstr("cannot make the folder " + folder.File("no/ca")));
    folder.Write("file", "");
    EXPECT_THAT(ComplaintOfOpening(folder.File("file")), HasSubstr(folder.File("file")));
}

} // namespace
} // namespace ZavSim
