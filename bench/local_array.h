#ifndef PRODUCT_STORAGE_BENCH_LOCAL_ARRAY_H
#define PRODUCT_STORAGE_BENCH_LOCAL_ARRAY_H

#include <string>

/// The least array that answers: a login, and pages of LUNs made up once. Plain HTTP on loopback, so that the figures
/// are those of the client. Lives as long as the process.
class LocalArray {
public:
    static constexpr int LUNS = 100; ///< in every page

    static const LocalArray& Get();

    const std::string& Url() const { return m_url; }
    std::string LunUrl() const { return m_url + "/deviceManager/rest/DEV1/lun?range=[0-100]"; }
    const std::string& LunPage() const { return m_lunPage; } ///< a whole answer

private:
    LocalArray();

    std::string m_lunPage;
    std::string m_url;
};

#endif
