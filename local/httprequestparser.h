#pragma once

#include "local/httprequest.h"

#include <QByteArray>

#include <functional>

struct HttpRequestLimits
{
    int maxRequestLine = 8 * 1024;
    int maxHeaderBytes = 64 * 1024;
    int maxHeaders = 100;
    qint64 maxBodyBytes = 64 * 1024 * 1024;
    // Until a request shows a valid credential, a body is no bigger than this.
    qint64 maxUnauthenticatedBodyBytes = 1024 * 1024;
};

// Incremental HTTP/1.x request reader: fed whatever bytes arrived, it consumes exactly one
// request at a time, so bytes of a pipelined next request stay in the caller's buffer.
class HttpRequestParser
{
public:
    using Limits = HttpRequestLimits;

    enum class Status { NeedMore, Complete, Error };

    explicit HttpRequestParser(const Limits &limits = Limits());

    // Tells from a request's head whether it carries a valid credential; bodies above
    // maxUnauthenticatedBodyBytes are taken only from those that do.
    void setCredentialCheck(std::function<bool(const HttpRequest &)> check)
    {
        m_credentialCheck = std::move(check);
    }

    // Consumes bytes from the front of buffer.
    Status feed(QByteArray &buffer);
    HttpRequest takeRequest();
    void reset();

    // True once after the headers of a request that asked "Expect: 100-continue" and still
    // has a body to send.
    bool takeContinueRequest();
    bool isIdle() const { return m_state == State::RequestLine && m_consumed == 0; }

    int errorStatus() const { return m_errorStatus; }
    QByteArray errorMessage() const { return m_errorMessage; }

private:
    enum class State {
        RequestLine,
        Headers,
        Body,
        ChunkSize,
        ChunkData,
        ChunkDataEnd,
        Trailers,
        Done
    };

    // Takes one line (without its line end) from buffer; false when none is complete yet.
    bool takeLine(QByteArray &buffer, QByteArray *line, int limit);
    // Moves up to the remaining body bytes from buffer into the request; true once none remain.
    bool takeBodyBytes(QByteArray &buffer);
    Status fail(int status, const QByteArray &message);
    Status parseRequestLine(const QByteArray &line);
    Status parseHeader(const QByteArray &line);
    Status headersDone();

    Limits m_limits;
    std::function<bool(const HttpRequest &)> m_credentialCheck;
    qint64 m_bodyLimit = 0;
    State m_state = State::RequestLine;
    HttpRequest m_request;
    qint64 m_remaining = 0;
    qint64 m_consumed = 0;
    int m_headerBytes = 0;
    bool m_continue = false;
    int m_errorStatus = 0;
    QByteArray m_errorMessage;
};
