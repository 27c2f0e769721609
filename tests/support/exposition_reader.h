#ifndef PRODUCT_STORAGE_TESTS_SUPPORT_EXPOSITION_READER_H
#define PRODUCT_STORAGE_TESTS_SUPPORT_EXPOSITION_READER_H

#include <map>
#include <string>

/// A text in Prometheus's exposition format as a strict reader takes it.
class ExpositionReader {
public:
    using Labels = std::map<std::string, std::string>;

    /// Throws std::runtime_error naming the line that breaks the format: each family stands together, with HELP and
    /// TYPE in front; no sample comes twice; a counter's name ends with _total; a histogram's buckets grow, up to its
    /// count.
    explicit ExpositionReader(const std::string& text);

    /// The types by family.
    const std::map<std::string, std::string>& Types() const noexcept { return m_types; }

    /// All samples, by name and labels.
    const std::map<std::string, std::map<Labels, double>>& Samples() const noexcept { return m_samples; }

    /// Throws std::runtime_error when there is none.
    double Value(const std::string& name, const Labels& labels = {}) const;

private:
    void ReadComment(const std::string& line);
    void ReadSample(const std::string& line);
    void RequireSoundHistogram(const std::string& name) const;

    std::map<std::string, std::string> m_helps;
    std::map<std::string, std::string> m_types;
    std::map<std::string, std::map<Labels, double>> m_samples;
    std::string m_family; ///< whose samples come
};

#endif
