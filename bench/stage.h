#ifndef PRODUCT_STORAGE_BENCH_STAGE_H
#define PRODUCT_STORAGE_BENCH_STAGE_H

#include "common/records.h"
#include "rest/zav_rest_api.h"
#include "tests/support/files.h"
#include "tests/support/process.h"

#include <memory>
#include <string>
#include <vector>

/// A simulated array in a process of its own, over https on loopback.
class SimulatedArray {
public:
    /// Returns when it listens. `authority` is the folder of the certificate authority.
    SimulatedArray(const std::string& program, const std::string& authority, int luns,
                   const Process::Arguments& further = {});

    const std::string& Url() const { return m_url; }
    int Port() const;

    /// The requests to the array that came since the last call.
    struct Request {
        std::string method;
        std::string resource; ///< behind the device id
        std::uint64_t connection = 0;
    };
    std::vector<Request> TakeRequests() const;

    /// On how many connections they came.
    double TakeConnections() const;

private:
    std::string Steer(const char* method) const; // its journal

    const std::string m_authority;
    Process m_process;
    std::string m_url;
};

/// What all benchmarks stand on: a folder, the framework's configuration in it with the rate guard open, and an array.
/// Made before the framework is used. Lives as long as the process.
class Stage {
public:
    static constexpr const char* USER = "admin";
    static constexpr const char* PASSWORD = "zavsim-admin";
    static constexpr int LUNS = 1000000;

    static Stage& Get();

    const std::string& Folder() const { return m_folder.Path(); }
    std::string CertificateAuthority() const { return m_folder.File("ca/ca.pem"); }
    static std::string ProgramPath(const std::string& name); ///< of one that lies beside this

    const SimulatedArray& Array() const { return *m_array; }
    static Zav::DeviceInfo DeviceOf(const SimulatedArray& array);

    /// A client that is logged in. Throws std::runtime_error when the array does not take the login.
    static std::unique_ptr<ZavRestApi> LogIn(const SimulatedArray& array);

    /// A further array, with the folder's certificate authority.
    std::unique_ptr<SimulatedArray> StartArray(int luns, const Process::Arguments& further = {}) const;

    /// What zavctl takes to reach an array.
    std::string EnvironmentFileOf(const SimulatedArray& array) const;

    /// The least level that is logged from now on, by this process and those that it starts.
    void SetLogLevel(int level) const;

private:
    Stage();

    const TemporaryFolder m_folder;
    std::unique_ptr<SimulatedArray> m_array;
};

#endif
