// Addresses from and to text beside inet_pton and inet_ntop, and heads of HTTP messages of some 500 bytes. The goals: an
// address from text within twice the time of inet_pton, a head of 500 bytes within 1.2 microseconds.

#include "zekovar/net/http_parser.h"
#include "zekovar/net/ip_address.h"
#include "zekovar/net/uri.h"

#include <benchmark/benchmark.h>

#include <arpa/inet.h>

namespace
{
char const* const SHORT_V4 = "10.0.0.1";
char const* const LONG_V4 = "192.168.100.254";
char const* const SHORT_V6 = "fe80::1";
char const* const LONG_V6 = "2001:db8:85a3:1234:5678:8a2e:370:7334";

void addressFromText(benchmark::State& state, char const* text)
{
    String const source(text);
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(source.c_str());
        IpAddress address(source);
        benchmark::DoNotOptimize(address);
    }
}

void inetPton(benchmark::State& state, int family, char const* text)
{
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(text);
        in6_addr address;
        benchmark::DoNotOptimize(::inet_pton(family, text, &address));
        benchmark::DoNotOptimize(address);
    }
}

void addressToText(benchmark::State& state, char const* text)
{
    IpAddress const address{String(text)};
    String printed;
    for (auto _ : state)
    {
        address.getIpAddrAsString(printed);
        benchmark::DoNotOptimize(printed.c_str());
        benchmark::ClobberMemory();
    }
}

void inetNtop(benchmark::State& state, int family, char const* text)
{
    in6_addr address;
    ::inet_pton(family, text, &address);
    char printed[INET6_ADDRSTRLEN];
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(::inet_ntop(family, &address, printed, sizeof printed));
        benchmark::ClobberMemory();
    }
}

String requestHead()
{
    return "GET /cgi-bin/status.cgi?interface=eth0&counters=all&since=1700000000 HTTP/1.1\r\n"
           "Host: gateway.example.com:8080\r\n"
           "User-Agent: Mozilla/5.0 (X11; Linux x86_64; rv:109.0) Gecko/20100101 Firefox/115.0\r\n"
           "Accept: text/html,application/xhtml+xml,application/xml;q=0.9,*/*;q=0.8\r\n"
           "Accept-Language: en-US,en;q=0.5\r\n"
           "Accept-Encoding: gzip, deflate\r\n"
           "Connection: keep-alive\r\n"
           "Referer: http://gateway.example.com:8080/cgi-bin/overview.cgi\r\n"
           "Cookie: session=4f2a9c0d1e8b7a6f; language=en\r\n"
           "Cache-Control: max-age=0\r\n"
           "\r\n";
}

void parseHead(benchmark::State& state)
{
    String const head = requestHead();
    ZK::HttpParser message;
    String buffer;
    for (auto _ : state)
    {
        buffer = head;
        if (message.parse(buffer).isErr())
            state.SkipWithError("not parsed");
    }
    state.SetBytesProcessed(state.iterations() * head.length());
    state.SetLabel(String::stringOf(head.length()).concat(" bytes").c_str());
}

/// What a call costs while the body isn't all there.
void parseIncomplete(benchmark::State& state)
{
    String buffer = requestHead();
    buffer.insert(buffer.length() - 2, "Content-Length: 1000000000\r\n").concat(String::repeat("x", 1000000));
    ZK::HttpParser message;
    for (auto _ : state)
        if (message.parse(buffer) != ZK::HttpParser::INCOMPLETE)
            state.SkipWithError("not incomplete");
}

void generateHead(benchmark::State& state)
{
    String buffer = requestHead();
    ZK::HttpParser message;
    message.parse(buffer);
    for (auto _ : state)
        benchmark::DoNotOptimize(message.generate().c_str());
}

void splitUri(benchmark::State& state)
{
    String const uri("http://user@gateway.example.com:8080/cgi-bin/status.cgi?interface=eth0");
    String protocol, host, path, error;
    unsigned int port = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(UriUtil::splitUri(uri, protocol, host, port, path, error));
}

void urlEncode(benchmark::State& state)
{
    String const text = String::repeat("a/b c=d&", 64);
    for (auto _ : state)
        benchmark::DoNotOptimize(UriUtil::urlEncodeRfc3986(text).c_str());
    state.SetBytesProcessed(state.iterations() * text.length());
}
}

BENCHMARK_CAPTURE(addressFromText, IpAddress_short_v4, SHORT_V4);
BENCHMARK_CAPTURE(inetPton, short_v4, AF_INET, SHORT_V4);
BENCHMARK_CAPTURE(addressFromText, IpAddress_long_v4, LONG_V4);
BENCHMARK_CAPTURE(inetPton, long_v4, AF_INET, LONG_V4);
BENCHMARK_CAPTURE(addressFromText, IpAddress_short_v6, SHORT_V6);
BENCHMARK_CAPTURE(inetPton, short_v6, AF_INET6, SHORT_V6);
BENCHMARK_CAPTURE(addressFromText, IpAddress_long_v6, LONG_V6);
BENCHMARK_CAPTURE(inetPton, long_v6, AF_INET6, LONG_V6);
BENCHMARK_CAPTURE(addressToText, IpAddress_v4, LONG_V4);
BENCHMARK_CAPTURE(inetNtop, v4, AF_INET, LONG_V4);
BENCHMARK_CAPTURE(addressToText, IpAddress_v6, LONG_V6);
BENCHMARK_CAPTURE(inetNtop, v6, AF_INET6, LONG_V6);
BENCHMARK(parseHead)->Name("HttpParser_parse_head");
BENCHMARK(parseIncomplete)->Name("HttpParser_parse_incomplete_body");
BENCHMARK(generateHead)->Name("HttpParser_generate");
BENCHMARK(splitUri)->Name("UriUtil_splitUri");
BENCHMARK(urlEncode)->Name("UriUtil_urlEncodeRfc3986");
