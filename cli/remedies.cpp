#include "cli/remedies.h"

#include <algorithm>
#include <array>

namespace {

struct TextRow {
    const char* piece; ///< of the cause
    const char* remedy;
};

// The first that fits. Numbers in parentheses are an array's codes, or libcurl's.
constexpr std::array<TextRow, 45> BY_TEXT = {{
    // on the way to the array
    {"(libcurl 6)", "the name is not known here: correct the address in the environment, or this node's resolver"},
    {"(libcurl 7)", "nothing listens there: check address and port in the environment, and that the array's management "
                    "service runs"},
    {"(libcurl 28)",
     "no answer came in time: check the way to the address (routes, firewalls, cables), then the array"},
    {"(libcurl 35)", "no TLS was agreed on: check that the port speaks https, and \"protocols\" in the environment"},
    {"(libcurl 52)",
     "the connection was closed without an answer: check that the port speaks what \"protocols\" in the "
     "environment says, then the array"},
    {"(libcurl 56)", "the connection broke: check the array's health and the way to it, then run the command again"},
    {"(libcurl 60)", "the certificate is not trusted for this address: name its authority's file in [Http] CaFile, or "
                     "have the array show one that is valid now and made out to the address"},
    {"(libcurl 77)", "the file in [Http] CaFile cannot be used: it has to be a PEM file that this user may read"},
    // what the array says
    {"(1077949006)", "the array is busy: run the command again in a few minutes"},
    {"(1077949067)", "the array is not ready yet: run the command again in a few minutes"},
    {"(-401)", "the session lapsed: run the command again"},
    {"(-408)", "the array did not finish in time: look at its load, then run the command again"},
    {"(-500)", "the array failed within: look at its alarms, then run the command again"},
    {"(-1000)", "a connection within the array failed: look at its alarms, then run the command again"},
    {"is in use", "the name belongs to somebody else's object: run the command again, which takes another name"},
    {"session limit", "too many sessions stand on the array: end some there, or wait until they lapse"},
    {"The limit of sessions", "too many sessions stand on the array: end some there, or wait until they lapse"},
    {"user name or the password is wrong", "correct user and password: encrypt the password with zavctl password "
                                           "encrypt, and put both into the environment"},
    // this node
    {"cannot be decrypted", "encrypt the password with this node's key, by zavctl password encrypt, and put the result "
                            "into the environment"},
    {"the environment has no", "add what is missing to the environment; docs/zavctl.md has a whole one"},
    {"standard output cannot be written", "make room where the output goes, or send it elsewhere"},
    {"there is no key in",
     "add --new-key where this node never had a key; else put its key back from the copy: what was "
     "encrypted with it can be read with no other"},
    {"no new key is made", "leave out --new-key; a key that is to be replaced has to be moved away first, and what was "
                           "encrypted with it to be encrypted anew"},
    {"password: none", "type a password of 1 to 4096 bytes, or have it in the first line of standard input"},
    {"password: longer", "type a password of 1 to 4096 bytes, or have it in the first line of standard input"},
    {"fault(s), see above", "correct what was named above; docs/zavctl.md tells what an environment holds"},
    {"environment ", "correct the file, or name another with --env; docs/zavctl.md has a whole one"},
    {"configuration ", "correct what was named above; zavctl config check tells whether all is well"},
    {"iscsiadm: not found", "install open-iscsi on this node"},
    {"iscsiadm said", "have iscsid run on this node (systemctl start iscsid), then try what iscsiadm refused by hand"},
    {"iSCSI portal", "check the way from this node to the array's iSCSI ports, TCP 3260"},
    {"no online FC port and no iSCSI session", "log this node into one of the array's iSCSI ports, or bring an FC port "
                                               "online; then run zavctl init again"},
    {"initiatorname.iscsi",
     "give this node an initiator name: open-iscsi writes /etc/iscsi/initiatorname.iscsi when it "
     "is installed"},
    {"No space left on device", "make room on that file system, then run the command again"},
    {"not a device record in JSON",
     "restore the file from a backup, or move it away: zavctl init then makes the record "
     "anew, and zavctl tidy takes apart what the old one named"},
    {"cannot be a device record", "move the file away and run the command again"},
    {"could not be entered into the journal", "let this user write the journal and its lock file, or move away what "
                                              "stands there"},
    {"is mounted at", "unmount it, then run the command again"},
    {"is swapped to", "take the swap away (swapoff), then run the command again"},
    {"is held by",
     "take apart what stands on it, or give multipath's maps back (multipath -f), then run the command again"},
    {"is open in process", "end that process, then run the command again"},
    {"which was not made here", "leave --no-adopt away to use that host, or take the initiator off it on the array"},
    {"holds other hosts", "take the other hosts out of the group on the array, or name the group with --shared-group"},
    {"another process", "wait until the other process has ended; fuser tells which holds the lock file"},
    {"cannot name this node's record", "give the array another serial number or device id: none of this node's files "
                                       "can bear that one"},
}};

struct ExitRow {
    ExitCode exit;
    const char* remedy;
};

constexpr std::array<ExitRow, 12> BY_EXIT = {{
    {ExitCode::Done, ""},
    {ExitCode::Usage, "zavctl --help, or --help behind the command, tells what it takes"},
    {ExitCode::Partly, "see the lines above for what was not done, mend that, and run the command again"},
    {ExitCode::NotFound, "check the name that was given"},
    {ExitCode::Foreign, "ask whoever made or uses it; nothing of it was changed"},
    {ExitCode::LoginRefused, "correct user and password in the environment; after several refusals an array may have "
                             "locked the user"},
    {ExitCode::Unusable, "correct the file that was named, and run the command again"},
    {ExitCode::Unreachable, "check the way to the address, then the array, and run the command again"},
    {ExitCode::Refused, "ask the array's administrator what it refused and why; its event log has the request"},
    {ExitCode::Drift, "run zavctl init again; what it does not mend has to be mended on the array"},
    {ExitCode::NoPermission, "run the command as a user who may, root as a rule"},
    {ExitCode::OurFault, "report it, with the output of the same command under -vv"},
}};

} // namespace

std::string RemedyFor(const std::string& cause, ExitCode exit)
{
    const auto* const text = std::find_if(BY_TEXT.begin(), BY_TEXT.end(), [&cause](const TextRow& row) {
        return cause.find(row.piece) != std::string::npos;
    });
    if (text != BY_TEXT.end() && exit != ExitCode::NoPermission) {
        return text->remedy;
    }
    const auto* const row =
        std::find_if(BY_EXIT.begin(), BY_EXIT.end(), [exit](const ExitRow& each) { return each.exit == exit; });
    return row == BY_EXIT.end() ? "" : row->remedy;
}
