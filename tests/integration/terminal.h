#ifndef PRODUCT_STORAGE_TESTS_INTEGRATION_TERMINAL_H
#define PRODUCT_STORAGE_TESTS_INTEGRATION_TERMINAL_H

#include <string>

/// A terminal that a program may be started on, and the person before it.
class Terminal {
public:
    Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;
    ~Terminal();

    /// Its device, to be opened as a program's standard stream.
    const std::string& Path() const noexcept { return m_path; }

    /// Waits until it shows `text`. Throws std::runtime_error with what it shows when half a minute passes before.
    void WaitFor(const std::string& text);

    void Type(const std::string& text) const;

    /// Everything that it showed so far, cursor movements included; what was typed too, where it was echoed.
    std::string Shown();

    bool IsEchoing() const;

private:
    int m_person = -1;  ///< the side that reads what is shown and types
    int m_program = -1; ///< held open, so that the terminal outlives its programs
    std::string m_path;
    std::string m_shown;
};

#endif
