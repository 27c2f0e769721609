#ifndef ZAVSIM_HTTP_CONNECTION_H
#define ZAVSIM_HTTP_CONNECTION_H

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>

#include <memory>

namespace ZavSim {

class Acceptor;

/// One accepted connection, with or without TLS: reads requests one after the other, has each dispatched, and sends the
/// answer as it shall go over the wire. Everything happens on the thread of its socket; it lives as long as something
/// is under way.
class Connection {
public:
    /// `tls` is null for plain HTTP. The acceptor is told when the connection is gone.
    static std::shared_ptr<Connection> Make(boost::asio::ip::tcp::socket socket, boost::asio::ssl::context* tls,
                                            std::shared_ptr<Acceptor> acceptor);

    virtual ~Connection() = default;

    /// Begins to serve; once. Any thread.
    virtual void Run() = 0;

    /// Closes the connection, after the answer to a request that is being carried out. Any thread.
    virtual void End() = 0;
};

} // namespace ZavSim

#endif
