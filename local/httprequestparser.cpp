#include "local/httprequestparser.h"

namespace {

bool isTokenChar(char c)
{
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'))
        return true;
    return QByteArray("!#$%&'*+-.^_`|~").contains(c);
}

bool isToken(const QByteArray &text)
{
    if (text.isEmpty())
        return false;
    for (const char c : text) {
        if (!isTokenChar(c))
            return false;
    }
    return true;
}

} // namespace

HttpRequestParser::HttpRequestParser(const Limits &limits)
    : m_limits(limits)
{}

void HttpRequestParser::reset()
{
    m_state = State::RequestLine;
    m_request = HttpRequest();
    m_remaining = 0;
    m_consumed = 0;
    m_headerBytes = 0;
    m_continue = false;
    m_errorStatus = 0;
    m_errorMessage.clear();
}

HttpRequest HttpRequestParser::takeRequest()
{
    HttpRequest request = std::move(m_request);
    reset();
    return request;
}

bool HttpRequestParser::takeContinueRequest()
{
    const bool result = m_continue;
    m_continue = false;
    return result;
}

HttpRequestParser::Status HttpRequestParser::fail(int status, const QByteArray &message)
{
    m_errorStatus = status;
    m_errorMessage = message;
    return Status::Error;
}

bool HttpRequestParser::takeBodyBytes(QByteArray &buffer)
{
    const qint64 take = qMin<qint64>(m_remaining, buffer.size());
    m_request.body.append(buffer.constData(), int(take));
    buffer.remove(0, int(take));
    m_consumed += take;
    m_remaining -= take;
    return m_remaining == 0;
}

bool HttpRequestParser::takeLine(QByteArray &buffer, QByteArray *line, int limit)
{
    const int end = buffer.indexOf('\n');
    if (end < 0) {
        if (buffer.size() > limit)
            *line = buffer; // over the limit: let the caller refuse it
        return false;
    }
    int length = end;
    if (length > 0 && buffer.at(length - 1) == '\r')
        --length;
    *line = buffer.left(length);
    buffer.remove(0, end + 1);
    m_consumed += end + 1;
    return true;
}

HttpRequestParser::Status HttpRequestParser::feed(QByteArray &buffer)
{
    while (true) {
        switch (m_state) {
        case State::RequestLine: {
            QByteArray line;
            if (!takeLine(buffer, &line, m_limits.maxRequestLine)) {
                if (!line.isEmpty())
                    return fail(414, "Request line too long");
                return Status::NeedMore;
            }
            if (line.size() > m_limits.maxRequestLine)
                return fail(414, "Request line too long");
            if (line.isEmpty() && m_request.method.isEmpty()) {
                m_consumed = 0; // blank lines between requests are allowed
                continue;
            }
            const Status status = parseRequestLine(line);
            if (status == Status::Error)
                return status;
            m_state = State::Headers;
            break;
        }
        case State::Headers:
        case State::Trailers: {
            QByteArray line;
            const int room = m_limits.maxHeaderBytes - m_headerBytes;
            if (!takeLine(buffer, &line, room)) {
                if (!line.isEmpty())
                    return fail(431, "Request header fields too large");
                return Status::NeedMore;
            }
            m_headerBytes += line.size() + 2;
            if (m_headerBytes > m_limits.maxHeaderBytes)
                return fail(431, "Request header fields too large");
            if (line.isEmpty()) {
                if (m_state == State::Trailers) {
                    m_state = State::Done;
                    break;
                }
                const Status status = headersDone();
                if (status == Status::Error)
                    return status;
                break;
            }
            if (m_state == State::Trailers)
                break; // trailer fields carry nothing this service uses
            const Status status = parseHeader(line);
            if (status == Status::Error)
                return status;
            break;
        }
        case State::Body: {
            if (!takeBodyBytes(buffer))
                return Status::NeedMore;
            m_state = State::Done;
            break;
        }
        case State::ChunkSize: {
            QByteArray line;
            if (!takeLine(buffer, &line, 1024)) {
                if (!line.isEmpty())
                    return fail(400, "Chunk size line too long");
                return Status::NeedMore;
            }
            const int extension = line.indexOf(';');
            const QByteArray hex = (extension < 0 ? line : line.left(extension)).trimmed();
            bool ok = hex.size() <= 15 && !hex.isEmpty();
            for (const char c : hex)
                ok = ok && isxdigit(static_cast<unsigned char>(c));
            const qint64 size = ok ? hex.toLongLong(&ok, 16) : 0;
            if (!ok || size < 0)
                return fail(400, "Invalid chunk size");
            if (m_request.body.size() + size > m_bodyLimit)
                return fail(413, "Request body too large");
            if (size == 0) {
                m_state = State::Trailers;
                break;
            }
            m_remaining = size;
            m_state = State::ChunkData;
            break;
        }
        case State::ChunkData: {
            if (!takeBodyBytes(buffer))
                return Status::NeedMore;
            m_state = State::ChunkDataEnd;
            break;
        }
        case State::ChunkDataEnd: {
            QByteArray line;
            if (!takeLine(buffer, &line, 2)) {
                if (!line.isEmpty())
                    return fail(400, "Missing chunk end");
                return Status::NeedMore;
            }
            if (!line.isEmpty())
                return fail(400, "Missing chunk end");
            m_state = State::ChunkSize;
            break;
        }
        case State::Done:
            return Status::Complete;
        }
    }
}

HttpRequestParser::Status HttpRequestParser::parseRequestLine(const QByteArray &line)
{
    const QList<QByteArray> parts = line.split(' ');
    if (parts.size() != 3 || !isToken(parts.at(0)))
        return fail(400, "Malformed request line");
    const QByteArray &version = parts.at(2);
    if (!version.startsWith("HTTP/") || version.size() != 8 || version.at(6) != '.')
        return fail(400, "Malformed request line");
    if (version != "HTTP/1.1" && version != "HTTP/1.0")
        return fail(505, "HTTP version not supported");
    for (const char c : parts.at(1)) {
        if (static_cast<unsigned char>(c) <= 0x20 || c == 0x7f)
            return fail(400, "Malformed request target");
    }
    m_request.method = parts.at(0);
    m_request.version = version;
    if (!m_request.setTarget(parts.at(1)))
        return fail(400, "Malformed request target");
    return Status::NeedMore;
}

HttpRequestParser::Status HttpRequestParser::parseHeader(const QByteArray &line)
{
    if (line.startsWith(' ') || line.startsWith('\t'))
        return fail(400, "Folded header lines are not supported");
    const int colon = line.indexOf(':');
    if (colon <= 0)
        return fail(400, "Malformed header line");
    const QByteArray name = line.left(colon).toLower();
    if (!isToken(name))
        return fail(400, "Malformed header name");
    if (m_request.headers.size() >= m_limits.maxHeaders)
        return fail(431, "Too many header fields");
    m_request.headers.append({name, line.mid(colon + 1).trimmed()});
    return Status::NeedMore;
}

HttpRequestParser::Status HttpRequestParser::headersDone()
{
    if (m_request.version == "HTTP/1.1" && !m_request.hasHeader("host"))
        return fail(400, "Missing Host header");

    bool chunked = false;
    bool hasLength = false;
    qint64 length = 0;
    for (const auto &header : qAsConst(m_request.headers)) {
        if (header.first == "transfer-encoding") {
            const QList<QByteArray> codings = header.second.toLower().split(',');
            if (chunked || codings.size() != 1 || codings.first().trimmed() != "chunked")
                return fail(501, "Transfer coding not supported");
            chunked = true;
        } else if (header.first == "content-length") {
            bool ok = !header.second.isEmpty() && header.second.size() <= 18;
            for (const char c : header.second)
                ok = ok && c >= '0' && c <= '9';
            const qint64 value = ok ? header.second.toLongLong(&ok) : -1;
            if (!ok || (hasLength && value != length))
                return fail(400, "Invalid Content-Length");
            hasLength = true;
            length = value;
        }
    }
    // Both framings at once is how requests get smuggled past proxies: refuse it.
    if (chunked && hasLength)
        return fail(400, "Both Content-Length and Transfer-Encoding");
    // The credential is checked before a big body is read, so that nobody without one can make
    // the service hold tens of megabytes.
    m_bodyLimit = m_limits.maxBodyBytes;
    const qint64 untrusted = qMin(m_limits.maxUnauthenticatedBodyBytes, m_limits.maxBodyBytes);
    if ((chunked || length > untrusted) && !(m_credentialCheck && m_credentialCheck(m_request)))
        m_bodyLimit = untrusted;
    if (length > m_bodyLimit)
        return fail(413, "Request body too large");

    const bool expectsBody = chunked || length > 0;
    if (expectsBody && m_request.headerHasToken("expect", "100-continue"))
        m_continue = true;
    if (chunked) {
        m_state = State::ChunkSize;
    } else if (length > 0) {
        m_remaining = length;
        m_request.body.reserve(int(qMin<qint64>(length, 1024 * 1024)));
        m_state = State::Body;
    } else {
        m_state = State::Done;
    }
    return Status::NeedMore;
}
