#ifndef PRODUCT_STORAGE_CLI_WATCH_EXPOSITION_H
#define PRODUCT_STORAGE_CLI_WATCH_EXPOSITION_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// A text in Prometheus's exposition format, as node_exporter's textfile collector reads it.
class Exposition {
public:
    using Labels = std::vector<std::pair<std::string, std::string>>;

    /// Begins a family; its samples follow. `type` is "gauge", "counter" or "histogram".
    void Family(const std::string& name, const std::string& type, const std::string& help);

    /// Values of labels may be any text: what does not print is told as everywhere else.
    void Sample(const std::string& name, const Labels& labels, std::uint64_t value);

    /// The same for seconds, to the millisecond.
    void Seconds(const std::string& name, const Labels& labels, double value);

    const std::string& Text() const noexcept { return m_text; }

private:
    void Line(const std::string& name, const Labels& labels, const std::string& value);

    std::string m_text;
};

#endif
