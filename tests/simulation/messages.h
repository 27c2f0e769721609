#ifndef PRODUCT_STORAGE_TESTS_SIMULATION_MESSAGES_H
#define PRODUCT_STORAGE_TESTS_SIMULATION_MESSAGES_H

#include <string>
#include <vector>

namespace Simulation {

/// What a process of the node asks, and what the world answers: a word first, then what belongs to it.
using Message = std::vector<std::string>;

/// Sends the whole message on a socket that keeps messages apart. Throws std::runtime_error.
void Send(int socket, const Message& message);

/// False when the other side is gone. Throws std::runtime_error.
bool Receive(int socket, Message& message);

} // namespace Simulation

#endif
