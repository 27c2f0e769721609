#include "framework/security/key_file.h"

#include "base/files.h"
#include "base/secret.h"
#include "common/framework/random_bytes.h"

#include <boost/algorithm/hex.hpp>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <iterator>

namespace Framework {

namespace {

constexpr std::size_t HEX_SIZE = Key::SIZE * 2;
constexpr std::size_t MAX_FILE_SIZE = HEX_SIZE + 2; // with a line end of either kind
constexpr unsigned int MODE_BITS = 07777;
constexpr unsigned int KEY_MODE = 0600;

// Why the open file is no place for a key; empty when it is one.
std::string FindFileProblem(int fd)
{
    struct stat status = {};
    if (::fstat(fd, &status) != 0) {
        return Base::ErrorText(errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return "it is no regular file";
    }
    if (status.st_uid != ::geteuid()) {
        return "it belongs to user " + std::to_string(status.st_uid) + ", not to " + std::to_string(::geteuid());
    }
    if ((status.st_mode & MODE_BITS) != KEY_MODE) {
        return "others than its owner may use it: its mode must be 0600";
    }
    return {};
}

// Reads at most one byte more than a key file has, which tells that it is none. No buffer but `text` ever holds the
// key.
int ReadKeyText(int fd, std::string& text)
{
    constexpr std::size_t LIMIT = MAX_FILE_SIZE + 1;
    text.resize(LIMIT);
    std::size_t size = 0;
    while (size < LIMIT) {
        const ssize_t count = ::read(fd, text.data() + size, LIMIT - size);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return errno;
        }
        if (count == 0) {
            break;
        }
        size += static_cast<std::size_t>(count);
    }
    text.resize(size);
    return 0;
}

bool Decode(const std::string& text, Key& key)
{
    std::size_t size = text.size();
    while (size > 0 && (text[size - 1] == '\n' || text[size - 1] == '\r')) {
        --size;
    }
    if (size != HEX_SIZE || text.size() > MAX_FILE_SIZE) {
        return false;
    }
    try {
        boost::algorithm::unhex(text.begin(), text.begin() + HEX_SIZE, key.Bytes());
        return true;
    } catch (const boost::algorithm::hex_decode_error&) {
        return false;
    }
}

bool Generate(std::string& text)
{
    Key key;
    if (getRandBytes(key.Bytes(), Key::SIZE) <= 0) {
        return false;
    }
    text.reserve(HEX_SIZE + 1);
    boost::algorithm::hex_lower(key.Bytes(), key.Bytes() + Key::SIZE, std::back_inserter(text));
    text += '\n';
    return true;
}

} // namespace

Key::~Key()
{
    Secret::WipeBytes(m_bytes.data(), m_bytes.size());
}

KeyResult ReadKey(const std::string& path, Key& key, std::string& problem)
{
    const Base::Descriptor file = Base::OpenForReading(path, Base::Links::Refused); // others may have laid one
    if (!file.IsOpen()) {
        const int error = errno;
        problem = "The key file " + path +
                  " cannot be opened: " + (error == ELOOP ? "it is a symbolic link" : Base::ErrorText(error));
        return error == ENOENT ? KeyResult::Missing : KeyResult::Refused;
    }
    std::string reason = FindFileProblem(file.Get());
    std::string text;
    const Secret::ScopedWipe wipeText(text);
    if (reason.empty()) {
        const int error = ReadKeyText(file.Get(), text);
        if (error != 0) {
            reason = Base::ErrorText(error);
        } else if (!Decode(text, key)) {
            reason = "it does not hold 64 hexadecimal digits";
        }
    }
    if (!reason.empty()) {
        problem = "The key file " + path + " is refused: " + reason;
    }
    return reason.empty() ? KeyResult::Ok : KeyResult::Refused;
}

bool CreateKey(const std::string& path, std::string& problem)
{
    std::string text;
    const Secret::ScopedWipe wipeText(text);
    if (!Generate(text)) {
        problem = "No random key can be made";
        return false;
    }
    // Written apart and then given its name, which fails when there is one: nobody ever reads half a key, and a key
    // that is there already is never replaced.
    std::string temporary;
    Base::MakeParentDirectory(path);
    int error = Base::WriteBeside(path, text, KEY_MODE, temporary);
    if (error == 0) {
        error = ::link(temporary.c_str(), path.c_str()) == 0 || errno == EEXIST ? 0 : errno;
        ::unlink(temporary.c_str());
    }
    if (error != 0) {
        problem = "The key file " + path + " cannot be made: " + Base::ErrorText(error);
        return false;
    }
    Base::SyncParentDirectory(path);
    return true;
}

} // namespace Framework
