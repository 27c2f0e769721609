#ifndef PRODUCT_STORAGE_CLI_PICTURE_PICTURE_OUTPUT_H
#define PRODUCT_STORAGE_CLI_PICTURE_PICTURE_OUTPUT_H

#include "cli/console/report.h"
#include "cli/picture/node_picture.h"

#include <json/value.h>

#include <string>

/// The forms of a node's picture. What stands in it is escaped as each form wants it.
namespace PictureOutput {

/// The first two are Report::Format's: whoever sees the option alone knows JSON by its number.
enum class Form { Table, Json, Wide, Dot, Svg, Html };
static_assert(static_cast<int>(Form::Json) == static_cast<int>(Report::Format::Json));

/// A tree of lines; with `isWide` the details, too. Prints on standard output, what is not sound in colour on a
/// terminal.
void PrintTree(const NodePicture& picture, bool isWide);

Json::Value ToJson(const NodePicture& picture);

/// For Graphviz.
std::string ToDot(const NodePicture& picture);

/// By Graphviz. Throws Failure where it is not installed.
std::string ToSvg(const NodePicture& picture);

/// A page of its own: it needs no other file and no address, and is legible in light, in dark and printed.
std::string ToHtml(const NodePicture& picture);

} // namespace PictureOutput

#endif
