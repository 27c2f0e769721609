#include "cli/picture/node_picture.h"

const char* WordOf(Standing standing) noexcept
{
    switch (standing) {
    case Standing::Missing:
        return "missing";
    case Standing::Foreign:
        return "foreign";
    case Standing::Unrecorded:
        return "not recorded";
    case Standing::Down:
        return "down";
    case Standing::Sound:
        break;
    }
    return "";
}

std::string PictureItem::Naming() const
{
    return kind + (id.empty() ? "" : " " + id) + (name.empty() ? "" : " (" + name + ")");
}
