#pragma once

#include "local/chatapi.h"

// Files that operators send into a chat: "/api/chat/client/upload_file/" takes the console's
// multipart form ("file" with its file name, "chat_id" the chat's key), keeps the file under the
// data directory's "uploads" with a thumbnail for pictures, and answers where they are served:
// "/files/uploads/ID/NAME" and "/files/uploads/mini/ID.png". The ids are random and long, since
// the console fetches files without its token.
class UploadApi
{
public:
    static constexpr qint64 maxFileBytes = 20 * 1024 * 1024;
    static constexpr int thumbnailSide = 240;

    explicit UploadApi(ChatApi *api);

    // The routes keep the instance alive.
    static void install(ChatApi *api, HttpRouter &router);

private:
    HttpResponse upload(const ChatApi::Caller &caller, const HttpRequest &request) const;
    HttpResponse serve(const HttpRequest &request) const;
    QString directory() const;

    ChatApi *m_api;
};
