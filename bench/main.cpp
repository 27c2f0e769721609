#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

// Gives the framework a folder and a configuration of its own: a log file at level 3, no console.
int main(int argc, char** argv)
{
    std::string folder = (std::filesystem::temp_directory_path() / "product-storage-bench-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) {
        std::cerr << "cannot make a folder " << folder << '\n';
        return 1;
    }
    const std::string config = folder + "/backupnode.ini";
    std::ofstream(config) << "[Product]\nRoot = " << folder << "\n[Log]\nFile = " << folder
                          << "/bench.log\nLevel = 3\nConsole = false\n[BackupNode]\nDosRequestInterval = 0\n";
    setenv("PRODUCT_STORAGE_CONFIG", config.c_str(), 1);

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    std::filesystem::remove_all(folder);
    return 0;
}
