#include "cli/environment_file.h"

#include "cli/failure.h"

#include <google/protobuf/util/json_util.h>

#include <cerrno>
#include <fstream>
#include <sstream>
#include <system_error>

EnvironmentPath ReadEnvironment(const std::string& path)
{
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    if (!file || errno != 0) {
        const std::string reason = errno != 0 ? std::generic_category().message(errno) : "cannot be read";
        throw Failure(ExitCodeOfFile(errno), "environment " + path + ": " + reason);
    }
    EnvironmentPath env;
    const auto status = google::protobuf::util::JsonStringToMessage(text.str(), &env);
    if (!status.ok()) {
        throw Failure(ExitCode::Unusable, "environment " + path + ": " + std::string(status.message()));
    }
    return env;
}
