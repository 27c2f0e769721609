#include "base/descriptor.h"
#include "base/openssl_handles.h"
#include "common/framework/security.h"
#include "tests/integration/stage.h"
#include "tests/support/full_listener.h"
#include "tests/support/named_row.h"
#include "tests/support/slowness.h"

#include <gmock/gmock.h>

#include <boost/algorithm/string/replace.hpp>
#include <boost/filesystem/operations.hpp>

#include <openssl/pem.h>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <set>
#include <sstream>

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

namespace fs = boost::filesystem;

namespace {

/// A node whose programs and files are the test's, prepared on an array with two management addresses and a service
/// address, and the programs that an administrator has: those that change what a container must not are stand-ins.
class DoctorStage : public Stage {
public:
    DoctorStage()
    {
        // Debian's installer puts programs back that are missing or of another version.
        fs::create_directories(Node("package"));
        fs::copy_file(Node("bin/iscsid"), Node("package/iscsid"));
        MakeProgram("admin/apt-get", "case $* in *open-iscsi*) cp " + Node("package/iscsid") + " " +
                                         Node("bin/iscsid") + "; rm -f " + Node("bin/iscsiadm") + " ;; esac");
        // The service manager: iscsid serves its socket from then on.
        MakeProgram("admin/systemctl", "case $* in 'start iscsid' | 'restart iscsid') echo "
                                       "'0000: 00000002 00000000 00010000 0001 01 1 @ISCSIADM_ABSTRACT_NAMESPACE' >" +
                                           Node("unix_sockets") + " ;; esac");
        // The clock of this machine is right, and not to be set; what was asked for is kept.
        MakeProgram("admin/timedatectl", "echo \"$*\" >" + Node("timedatectl-was-asked"));
        MakeProgram("admin/iscsi-iname", "cat " + Node("next-name"));
        MakeProgram("bin/ps", "exit 1"); // none of the test's own programs is the node's
        WriteText(Node("next-name"), std::string(NODE_IQN) + "\n");
        WriteText(Directory() + "/password", std::string(PASSWORD) + "\n");
    }

    void Prepare(const std::vector<std::string>& further = {}, int serviceAddresses = 1)
    {
        constexpr int FIRST_SERVICE_ADDRESS = 8;
        ArrayOptions options;
        for (int i = 0; i < serviceAddresses; ++i) {
            options.serviceIps.push_back(Address(FIRST_SERVICE_ADDRESS + i));
        }
        options.managementIps = {Address(0), Address(1)};
        options.further = further;
        m_array = &StartArray(options);
        m_env = EnvironmentFileOf(*m_array);
        StartTargets(m_array->Options().serviceIps);
        const Base::ProgramResult init = RunZavctl({"init", "--env", m_env});
        ASSERT_EQ(0, init.status) << init.errors;
    }

    Base::ProgramResult Doctor(Process::Arguments further = {}) const
    {
        Process::Arguments words = {"doctor", "--env", m_env};
        words.insert(words.end(), further.begin(), further.end());
        return RunZavctl(words);
    }

    /// A command line as it was printed, with the node's files and the password's where they are here.
    Base::ProgramResult RunAsPrinted(std::string line) const
    {
        for (const auto& [shown, ours] :
             std::map<std::string, std::string>{{"/etc/iscsi/", Node("")},
                                                {"/run/lock/iscsi/", Node("")},
                                                {"/sys/class/fc_host/", Node("fc_host/")},
                                                {"PASSWORD_FILE", Directory() + "/password"}}) {
            boost::replace_all(line, shown, ours);
        }
        const std::string path = Node("admin") + ":" + Node("bin") + ":" + ProgramPath("node") + ":" +
                                 ProductPath("bin") + ":" + std::getenv("PATH");
        return RunToEnd({"/bin/bash", "-c", line}, {"PATH=" + path});
    }

    Array& TheArray() const { return *m_array; }
    const std::string& Env() const { return m_env; }
    std::string Node(const std::string& name) const { return Directory() + "/node/" + name; }
    std::string Key() const { return Directory() + "/product.key"; }
    std::string Configuration() const { return Directory() + "/backupnode.ini"; }
    std::string Log() const { return Directory() + "/library.log"; }
    std::string Record() const { return ZavctlRecordPath(*m_array); }
    std::string Journal() const { return ProductPath("conf/san-journal"); }

    void MakeProgram(const std::string& name, const std::string& script) const
    {
        WriteProgram(Node(name), script + "\n");
    }

    static void CutEndOfLine(const std::string& file)
    {
        const std::string text = ReadText(file);
        ASSERT_THAT(text, EndsWith("\n"));
        WriteText(file, text.substr(0, text.size() - 1));
    }

    void ChangeEnv(const std::string& from, const std::string& to) const { Change(m_env, from, to); }

    /// An iSCSI initiator that another machine has, on the host of this node.
    void PutStrangerOnHost() const
    {
        m_array->Operate("POST", "iscsi_initiator", R"({"TYPE":"222","ID":"iqn.2020-01.local.other:01"})");
        m_array->Operate("PUT", "iscsi_initiator/add_iscsi_to_host",
                         R"({"TYPE":"222","PARENTTYPE":"21","PARENTID":"1","ID":"iqn.2020-01.local.other:01"})");
    }

    void AddEnvAddress(const std::string& address) const
    {
        ChangeEnv("\"" + Address(1) + "\"]", "\"" + Address(1) + "\", \"" + address + "\"]");
    }

    void PlantFcPort(const std::string& state, bool isSeenByTheArray) const
    {
        SetFcPort(*m_array, state, isSeenByTheArray);
    }

    void RegisterFcPort() const
    {
        m_array->Operate("POST", "fc_initiator", std::string(R"({"TYPE":"223","ID":")") + WWPN + R"("})");
    }

    /// What a fabric does with a port that logs in anew.
    void LetPortLogIn() const
    {
        EXPECT_EQ("1\n", ReadText(Node("fc_host/host0/issue_lip")));
        PlantFcPort("Online", true);
    }

    /// Another installation of the product, which prepared this node, too.
    void MakeFormerRoot() const { WriteText(Directory() + "/former/conf/21-info.conf", ReadText(Record())); }

    std::string AddressAt(int number) const { return Address(number); }
    Array& StartAnother() { return StartArray(); }
    void Name(const std::string& content) const { SetInitiatorFile(content); }
    std::string CipherInEnv() const
    {
        const std::string text = ReadText(m_env);
        const std::size_t start = text.find("AES256GCM");
        return text.substr(start, text.find('"', start) - start);
    }

    static std::string Encrypted(const std::string& password)
    {
        std::string cipher;
        std::string errorText;
        EXPECT_TRUE(SecuritySS::ZelkEncryptInfo(password, cipher, errorText)) << errorText;
        return cipher;
    }

private:
    Array* m_array = nullptr;
    std::string m_env;
};

using Act = std::function<void(DoctorStage&)>;

/// Something that is wrong with a node that was prepared.
struct Planted : NamedRow {
    Act plant;
    const char* severity;
    const char* seen; ///< "PATH" for the record's folder
    const char* command;
    int exit;
    Act behind = [](DoctorStage&) {};      ///< what the world does after the command
    bool needsRoot = false;                ///< files of other users are planted
    std::vector<std::string> further = {}; ///< of the array
};

Act ChangeMode(std::string (DoctorStage::*file)() const, mode_t mode)
{
    return [file, mode](DoctorStage& stage) { ASSERT_EQ(0, ::chmod((stage.*file)().c_str(), mode)); };
}

Act ChangeOwner(std::string (DoctorStage::*file)() const)
{
    return [file](DoctorStage& stage) { ASSERT_EQ(0, ::chown((stage.*file)().c_str(), 1, static_cast<gid_t>(-1))); };
}

const std::vector<Planted> PLANTED = {
    {{"IscsiadmIsMissing"},
     [](DoctorStage& stage) { stage.MakeProgram("bin/iscsiadm", "echo 'iscsiadm: not found' >&2; exit 127"); },
     "error",
     "iscsiadm is not installed",
     "apt-get install open-iscsi",
     7},
    {{"IscsidIsMissing"},
     [](DoctorStage& stage) { stage.MakeProgram("bin/iscsid", "echo 'iscsid: not found' >&2; exit 127"); },
     "error",
     "iscsid is not installed",
     "apt-get install open-iscsi",
     7},
    {{"VersionsDiffer"},
     [](DoctorStage& stage) { stage.MakeProgram("bin/iscsid", "echo 'iscsid version 2.0.874'"); },
     "warning",
     "iscsiadm is of version 2.1.8 and iscsid of version 2.0.874",
     "apt-get install --reinstall open-iscsi",
     3},
    {{"IscsidDoesNotRun"},
     [](DoctorStage& stage) { WriteText(stage.Node("unix_sockets"), "\n"); },
     "error",
     "iscsid is not running",
     "systemctl start iscsid",
     7},
    {{"LockIsStale"},
     [](DoctorStage& stage) { WriteText(stage.Node("lock.write"), ""); },
     "error",
     "/run/lock/iscsi/lock.write: an iscsiadm that was killed",
     "rm /run/lock/iscsi/lock.write",
     7},
    {{"NodeHasNoName"},
     [](DoctorStage& stage) { stage.Name("# none\n"); },
     "error",
     "this node has no initiator",
     "echo \"InitiatorName=$(iscsi-iname)\" >/etc/iscsi/initiatorname.iscsi",
     7},
    {{"FcPortIsDown"},
     [](DoctorStage& stage) { stage.PlantFcPort("Linkdown", false); },
     "warning",
     "FC port 2100000000000001 (host0) is Linkdown",
     "echo 1 >/sys/class/fc_host/host0/issue_lip",
     3,
     [](DoctorStage& stage) { stage.LetPortLogIn(); }},
    {{"KeyIsOpen"}, ChangeMode(&DoctorStage::Key, 0644), "error", "its mode must be 0600", "chmod 600 ", 7},
    {{"KeyIsGone"},
     [](DoctorStage& stage) { fs::remove(stage.Key()); },
     "error",
     "there is no key in ",
     "cipher=$(zavctl password encrypt --new-key <PASSWORD_FILE) && ",
     7},
    {{"PasswordIsOfAnotherKey"},
     [](DoctorStage& stage) { WriteText(stage.Key(), std::string(64, 'a') + "\n"); },
     "error",
     "encryptedPasswords[0] cannot be decrypted",
     "$(zavctl password encrypt <PASSWORD_FILE)",
     7},
    {{"RecordIsOpen"},
     ChangeMode(&DoctorStage::Record, 0666),
     "warning",
     "has mode 0666: others than its owner may write it",
     "chmod go-w ",
     3},
    {{"RecordIsAnothers"},
     ChangeOwner(&DoctorStage::Record),
     "warning",
     "belongs to user 1, its folder to 0",
     "chown --reference=",
     3,
     [](DoctorStage&) {},
     true},
    {{"RecordIsGarbled"},
     [](DoctorStage& stage) { WriteText(stage.Record(), "half a rec"); },
     "error",
     "not a device record in JSON",
     "mv ",
     7},
    {{"JournalIsOpen"},
     ChangeMode(&DoctorStage::Journal, 0644),
     "warning",
     "has mode 0644: others than its owner may read or write it",
     "chmod 600 ",
     3},
    {{"LogIsOpen"}, ChangeMode(&DoctorStage::Log, 0666), "warning", "the log ", "chmod go-w ", 3},
    {{"SecondRootHasARecord"},
     [](DoctorStage& stage) { stage.MakeFormerRoot(); },
     "warning",
     "/former/conf/21-info.conf: a second product root has a record of this node",
     "mv ",
     3},
    {{"AddressToLogInAtIsDead"},
     [](DoctorStage& stage) { stage.TheArray().SetListening(0, false); },
     "warning",
     ":8088: it takes no connection: Connection refused",
     "sed -i ",
     3},
    {{"FurtherAddressIsDead"},
     [](DoctorStage& stage) { stage.AddEnvAddress(stage.AddressAt(3)); },
     "warning",
     ":8088: it takes no connection: Connection refused",
     "sed -i ",
     3},
    {{"ProtocolIsWrong"},
     [](DoctorStage& stage) { stage.ChangeEnv(R"("protocols": [0])", R"("protocols": [1])"); },
     "error",
     "the environment says http, and the port speaks https",
     "sed -i ",
     8},
    {{"PasswordIsWrong"},
     [](DoctorStage& stage) { stage.ChangeEnv(stage.CipherInEnv(), stage.Encrypted("another")); },
     "error",
     "The user name or the password is wrong",
     "$(zavctl password encrypt <PASSWORD_FILE)",
     6},
    {{"ClocksDiffer"},
     [](DoctorStage& stage) {
         stage.TheArray().AddFault(R"({"kind": "clock", "milliseconds": 600000, "target": "^/$", "count": 0})");
     },
     "warning",
     "s ahead of this node's",
     "timedatectl set-ntp true",
     3,
     [](DoctorStage& stage) {
         EXPECT_EQ("set-ntp true\n", ReadText(stage.Node("timedatectl-was-asked")));
         stage.TheArray().ClearFaults();
     }},
    {{"RateGuardHoldsListsBack"},
     [](DoctorStage&) {},
     "warning",
     "take 120 requests to list, of which the rate guard lets 100 pass at once: it waits 20 s each time",
     "DosRequestCount = 120",
     3,
     [](DoctorStage&) {},
     false,
     {"--luns", "60000"}},
    {{"RateGuardIsToGoBehindALineThatHasNoEnd"},
     [](DoctorStage& stage) { stage.CutEndOfLine(stage.Configuration()); },
     "warning",
     "take 120 requests to list",
     "DosRequestCount = 120",
     3,
     [](DoctorStage&) {},
     false,
     {"--luns", "60000"}},
    {{"MappingViewIsGone"},
     [](DoctorStage& stage) { stage.TheArray().DeleteBehindBack("mappingview", "1"); },
     "error",
     "the array has none of this id",
     "zavctl init --env ",
     10},
    {{"SessionIsGone"},
     [](DoctorStage&) {
         RunToEnd({ProgramPath("node/iscsiadm"), "-m", "node", "-u"});
     },
     "error",
     "this node has no online FC port and no iSCSI session with the array",
     "zavctl init --env ",
     10},
    {{"NodeIsAClone"},
     [](DoctorStage& stage) {
         stage.PutStrangerOnHost();
         WriteText(stage.Node("next-name"), "iqn.2020-01.local.node:02\n");
     },
     "error",
     "and iSCSI initiator iqn.2020-01.local.other:01, which is not this node's",
     "systemctl restart iscsid && zavctl init --env ",
     5},
    {{"AddressIsOfAnotherArray"},
     [](DoctorStage& stage) { stage.AddEnvAddress(stage.StartAnother().Options().managementIps[0]); },
     "error",
     " are of two arrays, ",
     "sed -i ",
     7},
};

class ZavctlDoctorFaultTest : public DoctorStage, public ::testing::WithParamInterface<Planted> {
protected:
    /// The command behind "  $ " of the finding that begins so and has `seen` in its first line; empty without.
    static std::string CommandOf(const std::string& output, const std::string& severity, const std::string& seen)
    {
        std::istringstream lines(output);
        bool isInIt = false;
        for (std::string line; std::getline(lines, line);) {
            if (line.rfind("  ", 0) != 0) {
                isInIt = line.rfind(severity + ": ", 0) == 0 && line.find(seen) != std::string::npos;
            } else if (isInIt && line.rfind("  $ ", 0) == 0) {
                return line.substr(4);
            }
        }
        return {};
    }
};

TEST_P(ZavctlDoctorFaultTest, IsNamedWithTheCommandThatMendsIt)
{
    const Planted& planted = GetParam();
    if (planted.needsRoot && ::geteuid() != 0) {
        GTEST_SKIP() << "needs files of another user";
    }
    ASSERT_NO_FATAL_FAILURE(Prepare(planted.further));
    ASSERT_NO_FATAL_FAILURE(planted.plant(*this));
    const Base::ProgramResult sick = Doctor();
    const std::string command = CommandOf(sick.output, planted.severity, planted.seen);
    EXPECT_THAT(command, HasSubstr(planted.command)) << sick.output;
    EXPECT_EQ(planted.exit, sick.status) << sick.output;
    EXPECT_THAT(sick.errors, IsEmpty());

    const Base::ProgramResult mending = RunAsPrinted(command);
    EXPECT_EQ(0, mending.status) << command << "\n" << mending.errors;
    planted.behind(*this);
    const Base::ProgramResult well = Doctor();
    EXPECT_EQ("all well\n", well.output) << command;
    EXPECT_EQ(0, well.status);
}

INSTANTIATE_TEST_SUITE_P(Each, ZavctlDoctorFaultTest, ::testing::ValuesIn(PLANTED), RowName<Planted>);

class ZavctlDoctorTest : public DoctorStage {
protected:
    /// Gives a server's certificate so many days, as its authority would.
    void LetCertificateEndIn(int days, const std::string& address) const
    {
        const std::string path = Directory() + "/ca/server-" + address + ".pem";
        const auto reading = [](const std::string& file) {
            const std::string text = ReadText(file);
            Base::BioHandle bio(BIO_new(BIO_s_mem()));
            BIO_write(bio.get(), text.data(), static_cast<int>(text.size()));
            return bio;
        };
        const Base::CertificateHandle certificate(PEM_read_bio_X509(reading(path).get(), nullptr, nullptr, nullptr));
        const Base::KeyHandle authority(
            PEM_read_bio_PrivateKey(reading(Directory() + "/ca/ca.key").get(), nullptr, nullptr, nullptr));
        ASSERT_NE(nullptr, certificate);
        ASSERT_NE(nullptr, authority);
        X509_gmtime_adj(X509_getm_notAfter(certificate.get()), days * 86400L + 3600);
        ASSERT_NE(0, X509_sign(certificate.get(), authority.get(), EVP_sha256()));
        const Base::BioHandle written(BIO_new(BIO_s_mem()));
        PEM_write_bio_X509(written.get(), certificate.get());
        char* data = nullptr;
        const long size = BIO_get_mem_data(written.get(), &data);
        WriteText(path, std::string(data, static_cast<std::size_t>(size)));
    }

    static void End(Array& array)
    {
        array.Program().Signal(SIGTERM);
        array.Program().Wait();
    }
};

TEST_F(ZavctlDoctorTest, NodeThatIsWellIsToldInTwoWords)
{
    Prepare();
    const Base::ProgramResult well = Doctor();
    EXPECT_EQ("all well\n", well.output);
    EXPECT_THAT(well.errors, IsEmpty());
    EXPECT_EQ(0, well.status);
}

TEST_F(ZavctlDoctorTest, NodeThatIsYetToBePreparedIsWell)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    const Base::ProgramResult well = RunZavctl({"doctor", "--env", EnvironmentFileOf(array)});
    EXPECT_EQ("all well\n", well.output);
    EXPECT_EQ(0, well.status);
}

TEST_F(ZavctlDoctorTest, WithoutAnEnvironmentTheNodeAloneIsLookedAt)
{
    EXPECT_EQ("all well on this node; --env names an array to look at\n", RunZavctl({"doctor"}).output);
    WriteText(Node("unix_sockets"), "\n");
    const Base::ProgramResult sick = RunZavctl({"doctor"});
    EXPECT_EQ("error: iscsid is not running: iscsiadm can log in nowhere\n"
              "  start it\n"
              "  $ systemctl start iscsid\n",
              sick.output);
    EXPECT_EQ(7, sick.status);
}

TEST_F(ZavctlDoctorTest, LookingChangesNothing)
{
    Prepare();
    const std::string record = ReadText(Record());
    const std::string journal = ReadText(Journal());
    TheArray().DeleteBehindBack("mappingview", "1");
    PutStrangerOnHost();
    TheArray().ClearJournal();
    EXPECT_EQ(5, Doctor().status);
    for (const std::string& request : TheArray().Requests()) {
        EXPECT_THAT(request, ::testing::AnyOf(StartsWith("GET "), StartsWith("HEAD "), EndsWith(" sessions")));
    }
    EXPECT_EQ(0U, TheArray().SessionCount());
    EXPECT_EQ(record, ReadText(Record()));
    EXPECT_EQ(journal, ReadText(Journal()));
}

TEST_F(ZavctlDoctorTest, LockThatALivingIscsiadmHoldsIsNone)
{
    WriteText(Node("lock.write"), "");
    MakeProgram("bin/ps", "echo '  100 iscsiadm'");
    EXPECT_EQ(0, RunZavctl({"doctor"}).status);
}

TEST_F(ZavctlDoctorTest, IscsiIsNoErrorOnANodeWithFcPorts)
{
    WriteText(Node("unix_sockets"), "\n");
    SetFcPorts({std::string("0x") + WWPN});
    const Base::ProgramResult sick = RunZavctl({"doctor"});
    EXPECT_THAT(sick.output, StartsWith("warning: iscsid is not running"));
    EXPECT_EQ(3, sick.status);
}

TEST_F(ZavctlDoctorTest, FcPortThatTheArrayIsYetToKnowIsNone)
{
    Prepare();
    PlantFcPort("Online", false);
    EXPECT_EQ("all well\n", Doctor().output);
}

TEST_F(ZavctlDoctorTest, FcPortThatIsOnlineIsNotMadeToLogInAnew)
{
    Prepare();
    RegisterFcPort();
    PlantFcPort("Online", false);
    const Base::ProgramResult sick = Doctor();
    EXPECT_EQ("warning: FC port " + std::string(WWPN) + " (host0) is online, and " + TheArray().Url() +
                  " does not see it\n"
                  "  have the fabric's administrator look whether its zones let the port reach the array\n",
              sick.output)
        << "what other arrays' disks have under way there would break";
    EXPECT_EQ(3, sick.status);
}

TEST_F(ZavctlDoctorTest, ProbeThatDoesNotComeToAnEndIsAFinding)
{
    Prepare();
    MakeProgram("bin/stat", "exec sleep 60");
    const Base::ProgramResult sick = Doctor();
    EXPECT_EQ("error: iSCSI lock: no end of the look within 5 s\n"
              "  see by hand what it waits for: stat /run/lock/iscsi/lock.write\n",
              sick.output);
    EXPECT_EQ(8, sick.status) << sick.errors;
    EXPECT_EQ(0U, TheArray().SessionCount());
}

TEST_F(ZavctlDoctorTest, KeyOfAnotherUserIsLeftToHim)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "root alone gives files away";
    }
    Prepare();
    ASSERT_EQ(0, ::chown(Key().c_str(), 1, static_cast<gid_t>(-1)));
    const Base::ProgramResult sick = Doctor();
    EXPECT_THAT(sick.output, AllOf(HasSubstr("it belongs to user 1, not to 0"), Not(HasSubstr("chown"))));
    EXPECT_EQ(7, sick.status);
}

TEST_F(ZavctlDoctorTest, DeviceIsAsGoodALogAsAFile)
{
    Configure({{"Log.File", "/dev/null"}});
    const Base::ProgramResult well = RunZavctl({"doctor"});
    EXPECT_EQ("all well on this node; --env names an array to look at\n", well.output);
    EXPECT_EQ(0, well.status);
}

TEST_F(ZavctlDoctorTest, WhatIsNeitherFileNorFolderIsNotToBeMoved)
{
    const std::string path = Directory() + "/socket";
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    ASSERT_LT(path.copy(address.sun_path, sizeof address.sun_path - 1), sizeof address.sun_path - 1);
    const Base::Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    ASSERT_EQ(0, ::bind(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address));
    Configure({{"Log.File", path}});
    const Base::ProgramResult sick = RunZavctl({"doctor"});
    EXPECT_EQ("error: the log " + path + " is no regular file\n  name another file in [Log] File of backupnode.ini\n",
              sick.output);
    EXPECT_EQ(7, sick.status);
}

TEST_F(ZavctlDoctorTest, RecordThatIsNoFileIsToldOnce)
{
    Prepare();
    const std::string record = Record();
    const auto expectTold = [&](const std::string& told) {
        const Base::ProgramResult sick = RunZavctl({"doctor"});
        EXPECT_EQ("error: the record " + record + " is no regular file\n  move away what stands there\n" + told,
                  sick.output);
        EXPECT_EQ(7, sick.status);
    };
    fs::remove(record);
    ASSERT_EQ(0, ::mkfifo(record.c_str(), 0600));
    expectTold("");
    fs::remove(record);
    fs::create_directory(record);
    expectTold("  $ mv " + record + " " + record + ".old\n");
}

TEST_F(ZavctlDoctorTest, JournalThatIsNoFileIsToldOnce)
{
    Prepare();
    fs::remove(Journal());
    fs::create_directory(Journal());
    EXPECT_EQ("error: the journal " + Journal() + " is no regular file\n  move away what stands there\n  $ mv " +
                  Journal() + " " + Journal() + ".old\n",
              RunZavctl({"doctor"}).output);
}

TEST_F(ZavctlDoctorTest, AddressThatTakesConnectionsAndSaysNothingIsToldAsThat)
{
    Prepare();
    const FullListener mute(Address(3), Array::PORT, FullListener::Queue::Long);
    AddEnvAddress(Address(3));
    const Base::ProgramResult sick = Doctor();
    EXPECT_THAT(sick.output, StartsWith("warning: management address " + Address(3) +
                                        ":8088: it takes connections, and no TLS is agreed on\n"));
    EXPECT_EQ(3, sick.status);
}

TEST_F(ZavctlDoctorTest, CommandThatWouldChangeNothingIsNotPrinted)
{
    Prepare();
    const std::string env = ReadText(Env());
    const std::string noCommand = "\n  $ ";

    // an entry to a line, as jq writes it
    WriteText(Env(), boost::replace_all_copy(boost::replace_all_copy(env, "[", "[\n    "), "\", ", "\",\n    "));
    TheArray().SetListening(0, false);
    const Base::ProgramResult dead = Doctor();
    EXPECT_THAT(dead.output, AllOf(HasSubstr(Address(0) + ":8088: it takes no connection"), Not(HasSubstr(noCommand))));
    TheArray().SetListening(0, true);
    ChangeEnv("\"protocols\": [\n    0]", "\"protocols\": [\n    1]");
    const Base::ProgramResult plain = Doctor();
    EXPECT_THAT(plain.output, AllOf(HasSubstr("the environment says http, and the port speaks https\n"
                                              "  have https in the environment"),
                                    Not(HasSubstr(noCommand))));

    WriteText(Env(), env);
    ChangeEnv(CipherInEnv(), PASSWORD);
    const Base::ProgramResult unsealed = Doctor();
    EXPECT_EQ("error: environment " + Env() +
                  ": encryptedPasswords[0] cannot be decrypted: it is no credential that this product stored\n"
                  "  encryptedPasswords takes what zavctl password encrypt prints, whole and unchanged\n",
              unsealed.output);
}

TEST_F(ZavctlDoctorTest, LinesMayBeOfAnyLength)
{
    const std::string blanks(200000, ' ');
    Prepare({"--luns", "60000"});
    ChangeEnv("\"protocols\": [0]", "\"protocols\":" + blanks + "[0]");
    WriteText(Configuration(), blanks + "\n" + ReadText(Configuration()));
    EXPECT_THAT(Doctor().output, HasSubstr("DosRequestCount = 120"));
    ChangeEnv(blanks + "[0]", blanks + "[1]");
    EXPECT_THAT(Doctor().output, AllOf(HasSubstr("the environment says http, and the port speaks https\n"
                                                 "  have https in the environment"),
                                       Not(HasSubstr("\n  $ "))));
}

TEST_F(ZavctlDoctorTest, ArrayThatFallsSilentIsAFindingAndLeavesNothingBehind)
{
    Prepare();
    TheArray().AddFault(R"({"kind": "silent", "method": "GET", "target": "mappingview", "count": 0})");
    const Base::ProgramResult sick = Doctor();
    EXPECT_THAT(sick.output, HasSubstr("error: record: no end of the look within 5 s\n"));
    EXPECT_EQ(8, sick.status);
    EXPECT_EQ(0U, TheArray().SessionCount());
}

TEST_F(ZavctlDoctorTest, ArrayIsAskedThroughTheNextAddressWhereTheFirstBearsNoLogin)
{
    Prepare();
    TheArray().DeleteBehindBack("mappingview", "1");
    TheArray().AddFault(R"({"kind": "code", "code": 42, "description": "not here", "target": "eth_port"})");
    const Base::ProgramResult sick = Doctor();
    EXPECT_THAT(sick.output, HasSubstr(Address(0) + ":8088 does not tell its service addresses: not here (42)\n"));
    EXPECT_THAT(sick.output, HasSubstr("the array has none of this id")) << "what nobody asks is not found";
    EXPECT_EQ(0U, TheArray().SessionCount());
}

TEST_F(ZavctlDoctorTest, LoginThatTakesTooLongIsToldByWhateverWaitedForIt)
{
    Prepare();
    ChangeEnv(", \"" + Address(1) + "\"]", "]");
    TheArray().DeleteBehindBack("lungroup", "1");
    SetFcPorts({std::string("0x") + WWPN, "0x2100000000000002"});
    WriteText(Node("fc_host/host0/port_state"), "Linkdown\n");
    TheArray().AddFault(
        R"({"kind": "delay", "milliseconds": 3000, "method": "POST", "target": "sessions", "count": 0})");
    const Base::ProgramResult sick = Doctor();
    for (const char* const probe :
         {"serial numbers", "FC ports on the array", "service addresses", "hosts", "record", "rate guard"}) {
        EXPECT_THAT(sick.output, HasSubstr("error: " + std::string(probe) +
                                           ": no end of the look within 5 s\n  it waited for a login at the array, "
                                           "which took too long: look at the array's load and the way to it\n"));
    }
    EXPECT_THAT(sick.output, HasSubstr("is Linkdown")) << "what the node alone tells";
    EXPECT_EQ(8, sick.status);
}

TEST_F(ZavctlDoctorTest, WhateverHangsTheWholeIsDoneInSixSeconds)
{
    Prepare();
    TheArray().AddFault(R"({"kind": "silent", "method": "GET", "count": 0})");
    TheArray().AddFault(R"({"kind": "silent", "method": "DELETE", "count": 0})");
    MakeProgram("bin/iscsiadm", "exec sleep 60");
    MakeProgram("bin/stat", "exec sleep 60");
    const auto start = std::chrono::steady_clock::now();
    const Base::ProgramResult sick = Doctor();
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    EXPECT_THAT(sick.output, AllOf(HasSubstr("error: iSCSI lock: no end of the look within 5 s\n"),
                                   HasSubstr("error: iSCSI tools: no end of the look within 5 s\n"),
                                   HasSubstr("error: record: no end of the look within 5 s\n")));
    constexpr double LIMIT_OF_A_PROBE = 5;
    EXPECT_LT(took.count(), LIMIT_OF_A_PROBE + 1 * SLOWNESS);
}

TEST_F(ZavctlDoctorTest, WrongPasswordIsTriedAtOneAddressOnly)
{
    Prepare();
    ChangeEnv(CipherInEnv(), Encrypted("another"));
    TheArray().ClearJournal();
    EXPECT_EQ(6, Doctor().status);
    unsigned int logins = 0;
    for (const JournalEntry& entry : TheArray().Journal()) {
        logins += entry.method == "POST" ? 1 : 0;
    }
    EXPECT_EQ(1U, logins);
}

TEST_F(ZavctlDoctorTest, PasswordThatIsNotAnsweredIsTriedAtOneAddressOnly)
{
    Prepare();
    TheArray().AddFault(R"({"kind": "silent", "method": "POST", "target": "sessions", "count": 0})");
    TheArray().ClearJournal();
    EXPECT_EQ(8, Doctor().status);
    const std::vector<std::string> requests = TheArray().Requests();
    EXPECT_EQ(1, std::count(requests.begin(), requests.end(), "POST sessions"));
}

TEST_F(ZavctlDoctorTest, CertificateThatEndsSoonIsToldUntilItIsRenewed)
{
    ArrayOptions options;
    options.managementIps = {Address(0)};
    options.serviceIps = {Address(8)};
    options.serial = "2100";
    Array& first = StartArray(options);
    StartTargets(first.Options().serviceIps);
    const std::string env = EnvironmentFileOf(first);
    EXPECT_EQ(0, RunZavctl({"doctor", "--env", env}).status);
    End(first);
    LetCertificateEndIn(5, Address(0));
    Array& second = StartArray(options);
    const Base::ProgramResult sick = RunZavctl({"doctor", "--env", env});
    EXPECT_THAT(sick.output,
                StartsWith("warning: management address " + Address(0) + ":8088: its certificate ends on "));
    EXPECT_THAT(sick.output,
                HasSubstr(", in 5 days\n  have the array's administrator renew it; nothing on this node does\n"));
    EXPECT_EQ(3, sick.status);
    End(second);
    fs::remove(Directory() + "/ca/server-" + Address(0) + ".pem"); // what an administrator does
    fs::remove(Directory() + "/ca/server-" + Address(0) + ".key");
    StartArray(options);
    EXPECT_EQ("all well\n", RunZavctl({"doctor", "--env", env}).output);
}

TEST_F(ZavctlDoctorTest, ServiceAddressThatTakesNoConnectionIsToldUntilItDoes)
{
    ArrayOptions options;
    options.serviceIps = {Address(8), Address(9)};
    const Array& array = StartArray(options);
    StartTargets({Address(8)});
    const std::string env = EnvironmentFileOf(array);
    const Base::ProgramResult sick = RunZavctl({"doctor", "--env", env});
    EXPECT_THAT(sick.output, StartsWith("warning: service address " + Address(9) +
                                        ":3260 takes no connection; no session stands with it\n"));
    EXPECT_EQ(3, sick.status);
    const Process::Arguments targets = {ProgramPath("zavsim-target"), "start", "--folder", Directory() + "/more",
                                        Address(9)};
    ASSERT_EQ(0, RunToEnd(targets).status);
    EXPECT_EQ("all well\n", RunZavctl({"doctor", "--env", env}).output);
    RunToEnd({ProgramPath("zavsim-target"), "stop", "--folder", Directory() + "/more"});
}

TEST_F(ZavctlDoctorTest, NodeIsWellWithASessionAtTheOneAddressThatInitTook)
{
    Prepare({}, 2);
    EXPECT_EQ("all well\n", Doctor().output);
}

TEST_F(ZavctlDoctorTest, AddressesOfAnArrayThatIsReachedByFcNeedNoSession)
{
    ArrayOptions options;
    options.serviceIps = {Address(8), Address(9)};
    const Array& array = StartArray(options);
    StartTargets(options.serviceIps);
    SetFcPort(array, "Online", true);
    const std::string env = EnvironmentFileOf(array);
    ASSERT_EQ(0, RunZavctl({"init", "--env", env}).status);
    EXPECT_EQ("all well\n", RunZavctl({"doctor", "--env", env}).output);

    MakeProgram("bin/iscsiadm",
                "case $* in *session*) exit 141 ;; esac\nexec " + ProgramPath("node/iscsiadm") + " \"$@\"");
    const Base::ProgramResult untold = RunZavctl({"doctor", "--env", env});
    EXPECT_THAT(untold.output, StartsWith("warning: this node's iSCSI sessions are not known: iscsiadm said "));
    EXPECT_THAT(untold.output, Not(HasSubstr("error: ")));
    EXPECT_EQ(3, untold.status);
}

TEST_F(ZavctlDoctorTest, SessionThatTheKernelLostIsAWarning)
{
    const Process::Arguments apart = {"unshare", "--mount", "--map-root-user"};
    Process::Arguments attempt = apart;
    attempt.insert(attempt.end(), {"mount", "-t", "tmpfs", "none", "/sys/class"});
    if (RunToEnd(attempt).status != 0) {
        GTEST_SKIP() << "no file system may be mounted here";
    }
    Prepare();
    Process::Arguments words = apart;
    words.insert(words.end(), {"sh", "-c",
                               "mount -t tmpfs none /sys/class && mkdir -p /sys/class/iscsi_session/session1 && "
                               "echo FAILED >/sys/class/iscsi_session/session1/state && \"$0\" doctor --env \"$1\"",
                               ProductPath("bin/zavctl"), Env()});
    const Base::ProgramResult sick = RunToEnd(words);
    EXPECT_THAT(sick.output, HasSubstr("warning: service address " + Address(8) +
                                       ":3260 takes connections, and the kernel has the session with it as FAILED\n"));
    EXPECT_EQ(10, sick.status) << "it was the only path: " << sick.output;
}

TEST_F(ZavctlDoctorTest, ArrayThatDoesNotAnswerAtAllIsAnError)
{
    Prepare();
    End(TheArray());
    const Base::ProgramResult sick = Doctor();
    EXPECT_THAT(sick.output, HasSubstr("management address " + Address(0) + ":8088: it takes no connection"));
    EXPECT_THAT(sick.output, HasSubstr("management address " + Address(1) + ":8088: it takes no connection"));
}

TEST_F(ZavctlDoctorTest, EnvironmentThatCannotBeReadIsAFindingBesideTheNodes)
{
    WriteText(Node("unix_sockets"), "\n");
    const std::string env = Directory() + "/env.json";
    WriteText(env, "hello\n");
    const Base::ProgramResult sick = RunZavctl({"doctor", "--env", env});
    EXPECT_THAT(sick.output, StartsWith("error: iscsid is not running"));
    EXPECT_THAT(sick.output, HasSubstr("error: environment " + env + ": line 1, column 1: Syntax error"));
    EXPECT_EQ(7, sick.status);
}

TEST_F(ZavctlDoctorTest, ScriptsGetTheSameAsJson)
{
    Prepare();
    const Json::Value well = ParseJsonText(Doctor({"-o", "json"}).output);
    EXPECT_EQ("zavctl/1", well["schema"].asString());
    EXPECT_TRUE(well["well"].asBool());
    EXPECT_EQ(0U, well["findings"].size());
    WriteText(Node("unix_sockets"), "\n");
    ASSERT_EQ(0, ::chmod(Journal().c_str(), 0644));
    const Base::ProgramResult outcome = Doctor({"-o", "json"});
    EXPECT_EQ(7, outcome.status);
    const Json::Value sick = ParseJsonText(outcome.output);
    EXPECT_FALSE(sick["well"].asBool());
    EXPECT_EQ(7, sick["exit"].asInt());
    ASSERT_EQ(2U, sick["findings"].size());
    const Json::Value& first = sick["findings"][0];
    EXPECT_EQ("iSCSI tools", first["probe"].asString());
    EXPECT_EQ("error", first["severity"].asString());
    EXPECT_EQ("iscsid is not running: iscsiadm can log in nowhere", first["seen"].asString());
    EXPECT_EQ("start it", first["remedy"].asString());
    EXPECT_EQ("systemctl start iscsid", first["command"].asString());
    EXPECT_EQ(7, first["exit"].asInt());
    EXPECT_EQ("warning", sick["findings"][1]["severity"].asString());
}

} // namespace
