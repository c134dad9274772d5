#pragma once

#include "local/httprequest.h"
#include "local/httpresponse.h"

class HttpRouter;

// A few fixed web pages under "/test-pages/" for the console's link previews, so that a
// message can link to a page of each kind without the internet: "og.html" (Open Graph tags and
// a picture of the demo files), "plain.html" (a <title> only), "big.html" (a head of more than
// a megabyte), "slow.html" (answered after 10 s), "redirect.html" (to og.html) and
// "loop.html" (redirects to itself).
class TestPages
{
public:
    static void install(HttpRouter &router);

    static constexpr int kSlowDelayMs = 10000;
    // Of big.html; its description comes only after this many bytes.
    static constexpr int kBigSize = 1024 * 1024;

private:
    static HttpResponse serve(const HttpRequest &request);
};
