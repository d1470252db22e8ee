// One connection and its requests.
//
// For http_server.cpp only. Reads a request within its limits, has it answered, writes the answer
// and closes, or reads the next. Everything happens on the thread of the loop but the handler's
// answer, which the pool finds. A connection keeps itself alive while anything of it is under way.

#pragma once

#include "service/http/body_budget.h"
#include "service/http/connection_table.h"
#include "service/http/handler_pool.h"
#include "service/http/http_server.h"

#include <functional>
#include <memory>
#include <string>

#include <boost/asio/generic/stream_protocol.hpp>
#include <boost/asio/io_context.hpp>

namespace trevix {

/// What all connections of a server share; outlives them.
struct ConnectionShares {
    boost::asio::io_context& loop;
    const ServerOptions& options;
    HttpHandler& handler;
    HandlerPool& pool;
    BodyBudget& budget;
    ConnectionTable& table;
    std::function<void(ConnectionTable::Id)> gone; ///< The connection is closed.
};

class HttpConnection {
public:
    using Socket = boost::asio::generic::stream_protocol::socket;

    /// Begins to read. The addresses are those of HttpHead.
    [[nodiscard]] static std::shared_ptr<HttpConnection>
    begin(ConnectionShares& shares, ConnectionTable::Id id, Socket socket,
          std::string serverAddress, std::string clientAddress);

    virtual ~HttpConnection() = default;

    /// Closes it, whatever it is doing; a handler's answer that comes later is thrown away.
    virtual void close() = 0;
    /// The server ends: closes it, unless an answer is under way; then that is the last.
    virtual void finish() = 0;
};

} // namespace trevix
