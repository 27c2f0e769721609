#ifndef ZAVSIM_DATAPLANE_CONFIG_TREE_H
#define ZAVSIM_DATAPLANE_CONFIG_TREE_H

#include <optional>
#include <string>
#include <vector>

namespace ZavSim {

/// Steps in the kernel's configuration file system, in which making a folder makes an object. Each throws
/// std::runtime_error naming the path and why; each is done already when what it makes is there, or what it removes
/// is not.
namespace ConfigTree {

void MakeFolder(const std::string& path);
void RemoveFolder(const std::string& path);

/// Writes an attribute, in one piece as the kernel wants it.
void Write(const std::string& path, const std::string& value);

/// Makes `path` a link to the folder `object`.
void Link(const std::string& object, const std::string& path);
void Unlink(const std::string& path);

bool Exists(const std::string& path);

/// The names of the folders in a folder that begin so, in alphabetical order; none when there is no such folder.
std::vector<std::string> FoldersIn(const std::string& path, const std::string& begin);

/// The name of the first link in a folder.
std::optional<std::string> LinkIn(const std::string& path);

} // namespace ConfigTree

} // namespace ZavSim

#endif
