#include "cli/console/remedies.h"

#include "common/result_codes.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace {

struct TextRow {
    const char* piece; ///< of the cause
    const char* remedy;
};

struct CodeRow {
    std::int64_t code; ///< of an array or cluster, in the cause as "(7)" or "code 7"
    const char* remedy;
};

constexpr const char* MADE_ANEW = "what the record names is gone from the array: run zavctl init again, which makes it "
                                  "anew";
constexpr const char* CHANGED_MEANWHILE = "somebody changed the objects meanwhile: run the command again, which looks "
                                          "at them anew";
constexpr const char* STILL_USED = "the object is in use: take out on the array what is in it or holds it, or leave it";
constexpr const char* OTHER_USE = "the mapping view is another's by now: run zavctl init again, and zavctl tidy for "
                                  "what it leaves";
constexpr const char* TAKEN = "the name belongs to somebody else's object: run the command again, which takes another "
                              "name";
constexpr const char* WRONG_USER = "correct user and password: encrypt the password with zavctl password encrypt, and "
                                   "put both into the environment";
constexpr const char* TOO_MANY_SESSIONS = "run the command again later; where it stays so, have the array's "
                                          "administrator end sessions that are abandoned, none that is in use";
constexpr const char* ANOTHER_KIND = "the array speaks another version of the interface: report it, with the output of "
                                     "the same command under -vv, and with the array's model and version";
constexpr const char* BUSY = "the array is busy: run the command again in a few minutes";
constexpr const char* NAMES_ANOTHER =
    "see first that this address is the meant array's; then have it show a certificate that names the address, or put "
    "one that its certificate names into the environment";
constexpr const char* BROKEN = "the connection broke: check the array's health and the way to it, then run the command "
                               "again";
constexpr const char* NO_INTERFACE = "what answers there is no management interface that is known here: check address "
                                     "and port in the environment";

constexpr std::array<CodeRow, 43> BY_CODE = {{
    {ArrayCode::SESSION_LAPSED, "the session lapsed: run the command again"},
    {ArrayCode::REQUEST_TIMED_OUT, "the array did not finish in time: look at its load, then run the command again"},
    {ArrayCode::INTERNAL_ERROR, "the array failed within: look at its alarms, then run the command again"},
    {ArrayCode::CONNECTION_FAILED,
     "a connection within the array failed: look at its alarms, then run the command again"},
    {ArrayCode::HOST_NOT_IN_HOST_GROUP, CHANGED_MEANWHILE},
    {ArrayCode::HOST_GROUP_NOT_IN_MAP_VIEW, CHANGED_MEANWHILE},
    {ArrayCode::LUN_GROUP_NOT_IN_MAP_VIEW, CHANGED_MEANWHILE},
    {ArrayCode::LUN_GROUP_GONE, MADE_ANEW},
    {ArrayCode::HOST_GONE, MADE_ANEW},
    {ArrayCode::HOST_GROUP_GONE, MADE_ANEW},
    {ArrayCode::MEMBER_NOT_IN_LUN_GROUP, CHANGED_MEANWHILE},
    {ArrayCode::SYSTEM_BUSY, BUSY},
    {ArrayCode::SYSTEM_NOT_READY, "the array is not ready yet: run the command again in a few minutes"},
    {ArrayCode::INITIATOR_NOT_ON_HOST, CHANGED_MEANWHILE},
    {ArrayCode::MAP_VIEW_GONE, MADE_ANEW},
    // those of the simulated array
    {1090519041, WRONG_USER},
    {ArrayCode::SESSION_LIMIT_REACHED, TOO_MANY_SESSIONS},
    {1090519043, "another array answers at this address by now: check the address in the environment"},
    {1090519044, ANOTHER_KIND}, // no such resource
    {1090519045, ANOTHER_KIND}, // a parameter that it does not know
    {1090519046, TAKEN},
    {1090519047, CHANGED_MEANWHILE}, // no such LUN
    {1090519048, CHANGED_MEANWHILE}, // no such snapshot
    {1090519049, CHANGED_MEANWHILE}, // no such initiator
    {1090519050, CHANGED_MEANWHILE}, // the initiator is there already
    {1090519051, "the initiator belongs to another host: take it off that host on the array, or give this node an "
                 "initiator name of its own in /etc/iscsi/initiatorname.iscsi"},
    {1090519052, CHANGED_MEANWHILE}, // associated already
    {1090519053, STILL_USED},        // the host is in a group
    {1090519054, STILL_USED},        // the host has initiators
    {1090519055, STILL_USED},        // the host group is in a view
    {1090519056, STILL_USED},        // the host group has hosts
    {1090519057, STILL_USED},        // the LUN group is in a view
    {1090519058, STILL_USED},        // the LUN group has members
    {1090519059, STILL_USED},        // the mapping view holds groups
    {1090519060, OTHER_USE},         // the mapping view has a host group
    {1090519061, OTHER_USE},         // the mapping view has a LUN group
    {1090519062, "the array gives fewer LUNs at once: name fewer with --page-size"},
    {1090519063, "the array cannot save changes: look at its disk space and alarms"},
    {1090519064, "the array's targets did not follow: look at its alarms, then run the command again"},
    // those of the simulated cluster
    {1107296257, WRONG_USER},
    {1107296258, TOO_MANY_SESSIONS},
    {1107296259, ANOTHER_KIND}, // no such resource
    {1107296260, ANOTHER_KIND}, // a parameter that it does not know
}};

// The first that fits. Numbers in parentheses are libcurl's.
constexpr std::array<TextRow, 75> BY_TEXT = {{
    {"cannot start dot", "install graphviz, or take -o html, which needs nothing"},
    {"waiting for one to end", TOO_MANY_SESSIONS},
    {"given up after", "look whether what it waited for answers, or give more time with --timeout"},
    // on the way to the array
    {"(libcurl 3)", "what the environment has as address is none: correct it; addresses stand there without scheme and "
                    "port"},
    {"(libcurl 6)", "the name is not known here: correct the address in the environment, or this node's resolver"},
    {"(libcurl 7)", "nothing listens there: check address and port in the environment, and that the array's management "
                    "service runs"},
    {"SSL connection timeout (libcurl 28)",
     "something there takes connections and then says nothing: check that the array's management service runs and that "
     "the port is its, then the way to the address"},
    {"(libcurl 28)",
     "no answer came in time: check the way to the address (routes, firewalls, cables), then the array"},
    {"(libcurl 35)", "no TLS was agreed on: check that the port speaks https, and \"protocols\" in the environment"},
    {"(libcurl 52)",
     "the connection was closed without an answer: check that the port speaks what \"protocols\" in the "
     "environment says, then the array"},
    {"(libcurl 18)", BROKEN},
    {"(libcurl 55)", BROKEN},
    {"(libcurl 56)", BROKEN},
    {"certificate has expired", "look at this node's clock first (date); when that is right, have the array show a "
                                "certificate that is valid now"},
    {"certificate is not yet valid",
     "look at this node's clock first (date); when that is right, have the array show a certificate that is valid "
     "now"},
    {"address mismatch", NAMES_ANOTHER},
    {"ostname mismatch", NAMES_ANOTHER},
    {"subject name matches", NAMES_ANOTHER},
    {"(libcurl 60)", "compare the certificate's fingerprint with the one that the array's administrator tells, then "
                     "name its authority's file in [Http] CaFile of backupnode.ini"},
    {"(libcurl 77)", "the file in [Http] CaFile cannot be used: it has to be a PEM file that this user may read"},
    {"HTTP status 4", NO_INTERFACE},
    {"HTTP status 5", "the management service, or a proxy before it, failed: look at the array's alarms, then run the "
                      "command again"},
    {"Parse json string failed", NO_INTERFACE},
    {"Json object format is error", NO_INTERFACE},
    // what the array says in its own words
    {"user name or the password is wrong", WRONG_USER},
    {"is in use", TAKEN},
    {"session limit", TOO_MANY_SESSIONS},
    {"The limit of sessions", TOO_MANY_SESSIONS},
    {"number of sessions has reached its limit", TOO_MANY_SESSIONS},
    {"reached its limit", "the array holds no more of these: zavctl tidy --dry-run lists what this node made there and "
                          "does not use, zavctl tidy takes it apart; else have the array's administrator make room"},
    // this node
    {"its mode must be 0600", "chmod 600 it; where somebody else may have read it, change the arrays' passwords, move "
                              "the key away, and encrypt all anew with zavctl password encrypt --new-key"},
    {"it belongs to user", "run the command as the user whom the key belongs to"},
    {"64 hexadecimal digits", "restore the key from its backup; without one move the file away, and encrypt all "
                              "passwords anew with zavctl password encrypt"},
    {"cannot be opened: No such file",
     "restore the key from its backup, or name its place in [Security] KeyFile of backupnode.ini; without one encrypt "
     "all passwords anew with zavctl password encrypt"},
    {"The key file ", "have a key file that this user owns, in a folder that he may write, or name another place in "
                      "[Security] KeyFile"},
    {"is no credential", "encryptedPasswords takes what zavctl password encrypt prints, whole and unchanged"},
    {"another key than this node's", "encrypt the password with this node's key, by zavctl password encrypt, and put "
                                     "the result into the environment"},
    {"cannot be decrypted", "encrypt the password with this node's key, by zavctl password encrypt, and put the result "
                            "into the environment"},
    {"the environment has no", "add it to the environment; zavctl env check names all that is missing"},
    {"standard output cannot be written", "make room where the output goes, or send it elsewhere"},
    {"there is no key in",
     "add --new-key where this node never had a key; else put its key back from the copy: what was "
     "encrypted with it can be read with no other"},
    {"no new key is made", "leave out --new-key; a key that is to be replaced has to be moved away first, and what was "
                           "encrypted with it to be encrypted anew"},
    {"password: none", "type a password of 1 to 4096 bytes, or have it in the first line of standard input"},
    {"password: longer", "type a password of 1 to 4096 bytes, or have it in the first line of standard input"},
    {"fault(s), see above", "correct what was named above; zavctl-environment(5) tells what an environment holds"},
    {"No space left on device", "make room on that file system, then run the command again"},
    {"it is there, and no regular file", "name another file; what stands there is left alone"},
    {"bundle ", "name a file that is not there yet, in a folder that you may write, or add --overwrite"},
    {"No such file or directory", "name a file that is there; zavctl env new makes an environment"},
    {"environment ",
     "correct the file (zavctl env check names each fault), make it with zavctl env new, or name another with --env"},
    {"configuration ",
     "correct the line, or take it away, which gives the default; zavctl config check lists all that is wrong with "
     "the file"},
    {"iscsiadm: not found", "install open-iscsi on this node, or bring an FC port online"},
    {"can not connect to iSCSI daemon", "start iscsid (systemctl start iscsid), or bring an FC port online; then run "
                                        "the command again"},
    {"authorization failure",
     "compare CHAP in /etc/iscsi/iscsid.conf with what the array asks of this initiator; zavctl sets none up"},
    {"time limit", "run iscsiadm -m discovery -t st -p ADDRESS by hand and see what it waits for (the way to the "
                   "array's iSCSI ports, iscsid); [Shell] TimeoutSeconds of backupnode.ini is how long it may take"},
    {"iscsiadm said",
     "try by hand what iscsiadm refused: iscsiadm -m discovery -t st -p ADDRESS, then iscsiadm -m node "
     "-p ADDRESS -l; an FC port that is online would do as well"},
    {"iSCSI portal",
     "check the way from this node to the array's iSCSI ports, TCP 3260, and that its iSCSI service runs; an FC port "
     "that is online would do as well"},
    {"no online FC port and no iSCSI session", "log this node into one of the array's iSCSI ports, or bring an FC port "
                                               "online; then run zavctl init again"},
    {"initiatorname.iscsi",
     "give this node an initiator name in /etc/iscsi/initiatorname.iscsi, as open-iscsi does when "
     "it is installed, or bring an FC port online; then run zavctl init again"},
    {"which is recorded for this node",
     "take that initiator off the host on the array, where it is nobody's any more or has no business there; else "
     "leave "
     "the host to it: take this node's initiator off, run zavctl cleanup, which leaves such a host, and then zavctl "
     "init, which makes another"},
    {"which is not this node's",
     "see first whether another machine uses this node's initiator name (a clone does): if so, give this node a name "
     "of its own in /etc/iscsi/initiatorname.iscsi and leave that host alone; if none does, have the array's "
     "administrator take the name off it; then run zavctl init again"},
    {"which is not in host group", "take this node's initiator off that host on the array; then run zavctl init again"},
    {"File too large", "give this user and that file system a higher limit of file sizes (ulimit -f)"},
    {"which the record lies in", "make the folder, owned by the user who runs zavctl; then run the command again"},
    {"not a device record in JSON",
     "restore the file from a backup; without one move it away, leave the journal where it is, and run zavctl init, "
     "which makes a new record; then look at zavctl tidy --dry-run"},
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

constexpr std::array<ExitRow, 13> BY_EXIT = {{
    {ExitCode::Done, ""},
    {ExitCode::Usage, "zavctl --help, or --help behind the command, tells what it takes"},
    {ExitCode::Partly, "see the lines above for what was not done, mend that, and run the command again"},
    {ExitCode::NotFound,
     "correct the id; zavctl tidy --dry-run, which changes nothing, lists what bears our prefix on the array"},
    {ExitCode::Foreign, "ask whoever made or uses it; nothing of it was changed"},
    {ExitCode::LoginRefused,
     "the array's words are not known here: look for the login in its event log (a locked user, "
     "a right that is missing, a password that has lapsed or is wrong), then run the command "
     "again"},
    {ExitCode::Unusable, "correct the file that was named, and run the command again"},
    {ExitCode::Unreachable, "check the way to the address, then the array, and run the command again"},
    {ExitCode::Refused, "ask the array's administrator what it refused and why; its event log has the request"},
    {ExitCode::Drift, "run zavctl init again; what it does not mend has to be mended on the array"},
    {ExitCode::WouldChange, "run zavctl init, which does what was printed"},
    {ExitCode::NoPermission, "run the command as a user who may, root as a rule"},
    {ExitCode::OurFault, "report it, with the output of the same command under -vv"},
}};

// Of the array's code in the cause, "(7)" or "code 7: "; null when none is known.
const char* RemedyOfCode(const std::string& cause)
{
    const auto* const row = std::find_if(BY_CODE.begin(), BY_CODE.end(), [&cause](const CodeRow& each) {
        const std::string number = std::to_string(each.code);
        const std::array<std::string, 3> forms = {"(" + number + ")", "code " + number + ":", "code " + number + ";"};
        return std::any_of(forms.begin(), forms.end(),
                           [&cause](const std::string& form) { return cause.find(form) != std::string::npos; });
    });
    return row == BY_CODE.end() ? nullptr : row->remedy;
}

} // namespace

std::string RemedyFor(const std::string& cause, ExitCode exit)
{
    if (exit != ExitCode::NoPermission) {
        if (const char* const remedy = RemedyOfCode(cause)) {
            return remedy;
        }
        const auto* const text = std::find_if(BY_TEXT.begin(), BY_TEXT.end(), [&cause](const TextRow& row) {
            return cause.find(row.piece) != std::string::npos;
        });
        if (text != BY_TEXT.end()) {
            return text->remedy;
        }
    }
    const auto* const row =
        std::find_if(BY_EXIT.begin(), BY_EXIT.end(), [exit](const ExitRow& each) { return each.exit == exit; });
    return row == BY_EXIT.end() ? "" : row->remedy;
}
