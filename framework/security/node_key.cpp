#include "framework/public/node_key.h"

#include "framework/config/current_config.h"
#include "framework/security/key_file.h"

namespace OpenFramework {

NodeKey LookAtNodeKey()
{
    NodeKey found;
    found.path = Framework::Config::ReadPath(Framework::SettingId::SecurityKeyFile);
    Framework::Key key;
    switch (Framework::ReadKey(found.path, key, found.problem)) {
    case Framework::KeyResult::Ok:
        found.state = NodeKey::State::Usable;
        break;
    case Framework::KeyResult::Missing:
        found.state = NodeKey::State::Missing;
        break;
    case Framework::KeyResult::Refused:
        found.state = NodeKey::State::Refused;
        break;
    }
    return found;
}

} // namespace OpenFramework
