#include "framework/config/config_interpreter.h"

#include "framework/support/executable_root.h"

#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>

#include <sstream>

namespace Framework {

namespace {

using Tree = boost::property_tree::ptree;

std::string Place(const std::string& path, const std::string& section, const std::string& key)
{
    return path + ": [" + section + "] " + key;
}

// The text that the file gives a setting; null when it gives none.
const std::string* FindText(const Tree& tree, const SettingSpec& spec)
{
    const auto section = tree.find(std::string(spec.section));
    if (section == tree.not_found()) {
        return nullptr;
    }
    const auto key = section->second.find(std::string(spec.key));
    return key == section->second.not_found() ? nullptr : &key->second.data();
}

SettingValue DefaultOf(const SettingSpec& spec, const std::string& root)
{
    SettingValue value;
    std::string problem;
    ParseSetting(spec, std::string(spec.defaultText), root, value, problem);
    return value;
}

void Interpret(const SettingSpec& spec, const Tree& tree, const std::string& path, const std::string& root,
               ConfigReading& reading)
{
    SettingValue& value = reading.values.values[static_cast<std::size_t>(spec.setting)];
    value = DefaultOf(spec, root);
    const std::string* const text = FindText(tree, spec);
    if (text == nullptr) {
        return;
    }
    SettingValue given;
    std::string problem;
    if (ParseSetting(spec, *text, root, given, problem)) {
        value = given;
        value.isDefault = false;
        return;
    }
    reading.problems.push_back(Place(path, std::string(spec.section), std::string(spec.key)) + " = \"" + *text +
                               "\" is " + problem + " (" + std::string(spec.meaning) + "); the default \"" +
                               std::string(spec.defaultText) + "\" holds");
}

void FindUnknown(const Tree& tree, const std::string& path, std::vector<std::string>& problems)
{
    for (const auto& [section, keys] : tree) {
        if (keys.empty()) {
            problems.push_back(path + ": \"" + section + "\" stands outside of any section");
            continue;
        }
        if (!IsSection(section)) {
            problems.push_back(path + ": unknown section [" + section + "]");
            continue;
        }
        for (const auto& [key, value] : keys) {
            if (FindSetting(section, key) == nullptr) {
                problems.push_back(Place(path, section, key) + " is no setting");
            }
        }
    }
}

std::string WithoutFinalSlashes(std::string path)
{
    while (!path.empty() && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

} // namespace

ConfigReading InterpretConfig(const std::string& path, const std::string& text)
{
    ConfigReading reading;
    Tree tree;
    try {
        std::istringstream stream(text);
        boost::property_tree::read_ini(stream, tree);
    } catch (const boost::property_tree::ini_parser_error& error) {
        reading.problems.push_back(path + ", line " + std::to_string(error.line()) + ": " + error.message());
        reading.isUsable = false;
        tree.clear();
    }
    // The root comes first: every other relative path is meant from it.
    Interpret(SpecOf(SettingId::ProductRoot), tree, path, ExecutableRoot(), reading);
    SettingValue& rootValue = reading.values.values[static_cast<std::size_t>(SettingId::ProductRoot)];
    if (rootValue.text.empty()) {
        rootValue.text = ExecutableRoot();
    }
    rootValue.text = WithoutFinalSlashes(rootValue.text);
    const std::string root = rootValue.text;
    for (const SettingSpec& spec : AllSettings()) {
        if (spec.setting != SettingId::ProductRoot) {
            Interpret(spec, tree, path, root, reading);
        }
    }
    FindUnknown(tree, path, reading.problems);
    return reading;
}

} // namespace Framework
