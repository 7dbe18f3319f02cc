// A small GET and a reply of 16 MiB beside libcurl's easy interface with the same options, over a connection that is kept.
// The server is a thread that finds the end of a request and writes a reply that is there already.

#include "benchmarks/socket_peers.h"
#include "zekovar/net/xfer.h"

#include <benchmark/benchmark.h>

#include <string>

#ifdef ZEKOVAR_BENCH_HAS_CURL
#include <curl/curl.h>

namespace
{
char const HEADERS[] = "Accept: application/json|X-Gateway: 7";
constexpr std::size_t SMALL = 100;
constexpr std::size_t LARGE = 16 << 20;

/// Serves one connection.
class Responder
{
public:
    explicit Responder(std::size_t bytes)
        : m_reply("HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: " + std::to_string(bytes) +
                  "\r\n\r\n" + std::string(bytes, 'x')),
          m_listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address = loopbackAddress(0);
        socklen_t length = sizeof(address);
        check(bind(m_listener, reinterpret_cast<sockaddr*>(&address), length) == 0 && listen(m_listener, 1) == 0 &&
                  getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &length) == 0,
              "listen");
        m_url = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
        setenv("no_proxy", "*", 1);
        m_thread = std::thread([this] { serve(); });
    }

    ~Responder()
    {
        m_thread.join();
        close(m_listener);
    }

    char const* url() const { return m_url.c_str(); }

private:
    void serve()
    {
        int const fd = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        check(fd >= 0, "accept");
        char request[4096];
        std::size_t present = 0;
        for (ssize_t count; (count = recv(fd, request + present, sizeof(request) - present, 0)) > 0;)
        {
            present += static_cast<std::size_t>(count);
            if (std::string_view(request, present).find("\r\n\r\n") == std::string_view::npos)
                continue;
            present = 0;
            check(send(fd, m_reply.data(), m_reply.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(m_reply.size()),
                  "send");
        }
        close(fd);
    }

    std::string m_reply;
    int m_listener;
    std::string m_url;
    std::thread m_thread;
};

std::size_t appendTo(char* data, std::size_t size, std::size_t count, void* text)
{
    static_cast<std::string*>(text)->append(data, size * count);
    return size * count;
}

void getByXfer(benchmark::State& state)
{
    Responder const responder(static_cast<std::size_t>(state.range(0)));
    ZK::Xfer xfer;
    xfer.setBaseUrl(responder.url());
    String const path("/status");
    String const headers(HEADERS);
    for (auto _ : state)
    {
        TString<char> out;
        check(xfer.getBinary(out, path, headers).isSuccess() && out.length() == state.range(0), "get");
    }
}

/// The headers don't change, so it sets them once.
void getByCurl(benchmark::State& state)
{
    Responder const responder(static_cast<std::size_t>(state.range(0)));
    std::string const url = responder.url() + std::string("/status");
    CURL* const curl = curl_easy_init();
    char error[CURL_ERROR_SIZE];
    curl_slist* list = curl_slist_append(nullptr, "Accept: application/json");
    list = curl_slist_append(list, "X-Gateway: 7");
    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, error);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, appendTo);
    curl_easy_setopt(curl, CURLOPT_NOPROGRESS, 1L);
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, 3L);
    curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(curl, CURLOPT_MAXREDIRS, 3L);
    curl_easy_setopt(curl, CURLOPT_USERAGENT, "zekovar/3.0");
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, list);
    for (auto _ : state)
    {
        std::string out;
        long status = 0;
        curl_easy_setopt(curl, CURLOPT_WRITEDATA, &out);
        curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
        check(curl_easy_perform(curl) == CURLE_OK &&
                  curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status) == CURLE_OK && status == 200 &&
                  out.size() == static_cast<std::size_t>(state.range(0)),
              "get");
    }
    curl_easy_cleanup(curl);
    curl_slist_free_all(list);
}
}

BENCHMARK(getByXfer)->Name("Xfer/Get/zekovar")->Arg(SMALL)->Arg(LARGE)->UseRealTime();
BENCHMARK(getByCurl)->Name("Xfer/Get/libcurl")->Arg(SMALL)->Arg(LARGE)->UseRealTime();

#endif
