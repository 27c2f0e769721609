#ifndef PRODUCT_STORAGE_TESTS_FRAMEWORK_PROBE_MODES_H
#define PRODUCT_STORAGE_TESTS_FRAMEWORK_PROBE_MODES_H

#include <string>
#include <vector>

/// The things that the probe can be asked to do, each by the words that follow its name. All return the exit status.
namespace Probe {

using Words = std::vector<std::string>;

int Log(const Words& words);                  ///< LEVEL TEXT…: one line for each text
int LogAtOnce(const Words& words);            ///< a line from each of eight threads that begin together
int LogThroughLink(const Words& words);       ///< LINK STEP…: >TARGET turns the link after 11 seconds, else a line
int LogAtExit(const Words& words);            ///< a line from main and one from a static object's destructor
int SilentLines(const Words& words);          ///< how many allocations lines below the level cost
int Secrets(const Words& words);              ///< URL CAFILE: whether a request leaves secrets in this process's memory
int SecretsWithoutCookie(const Words& words); ///< the same of an answer that sets no cookie
int SanSecrets(const Words& words);           ///< ADDRESS PORT TOKEN COOKIE: whether a released manager leaves secrets
int ClientAtExit(const Words& words);         ///< URL: a request with a client that a static object owns
int SealedSecrets(const Words& words);        ///< the same of encrypting and decrypting
int DeadNameServer(const Words& words);       ///< the client's calls for a name that is never resolved
int ShellIgnoredChildren(const Words& words);
int ShellReapedChildren(const Words& words);
int ShellSignals(const Words& words);
int ShellClosedDescriptors(const Words& words);
int ShellEndedCommands(const Words& words); ///< MARKER: whether a command that takes no interrupt is gone when ended

} // namespace Probe

#endif
