"""An HTTP server for tests, on a free port of the loopback. It prints its port, then a JSON line for each request before
it replies; it ends when its standard input does. The path tells what it replies, see `reply`."""
import hashlib, json, os, re, socket, sys, threading, time
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer

PATTERN = bytes(range(256)) * 4096
USER, PASSWORD = "anna", "secret"


def pattern(count):
    return (PATTERN * (count // len(PATTERN) + 1))[:count]


def described(body):  # as text, or as the number of bytes if they are those of the pattern
    return len(body) if body and body == pattern(len(body)) else body[:1000].decode("latin-1")


def md5(*texts):
    return hashlib.md5(":".join(texts).encode()).hexdigest()


class Handler(BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    disable_nagle_algorithm = True

    def log_message(self, *_):
        pass

    def serve(self):
        if self.path == "/early":
            self.reply_with(200, PATTERN)
        body = self.rfile.read(int(self.headers.get("Content-Length", 0)))
        lines = [f"{name}: {value}" for name, value in self.headers.items()]
        print(json.dumps({"request": f"{self.command} {self.path}", "lines": lines, "body": described(body),
                          "parts": self.parts(body), "client": self.client_address[1]}), flush=True)
        if self.path != "/early":
            self.reply(*(self.path.strip("/").split("/") + [""])[:2], body)

    do_GET = do_HEAD = do_POST = do_PUT = do_DELETE = serve

    def reply(self, kind, argument, body):
        if kind == "json":
            self.reply_with(200, b'{"b":2}')
        elif kind == "status":
            self.reply_with(int(argument), b"reason")
        elif kind == "redirect":
            n = int(argument)
            self.reply_with(302, b"", ("Location", f"/redirect/{n - 1}" if n > 1 else "/json"))
        elif kind == "zero":
            self.reply_with(200, b"a\0b")
        elif kind == "bytes":
            self.reply_with(200, pattern(int(argument)))
        elif kind == "late":  # the body comes when the client has the head
            self.reply_with(200, b"", length=9)
            time.sleep(0.05)
            self.wfile.write(b"late body")
        elif kind == "cut":
            self.reply_with(200, b"cut", length=1000)
            self.connection.shutdown(socket.SHUT_RDWR)
        elif kind == "basic":
            known = self.headers.get("Authorization") == "Basic YW5uYTpzZWNyZXQ="
            self.reply_with(200 if known else 401, body, ("WWW-Authenticate", 'Basic realm="gate"'))
        elif kind == "digest":
            challenge = 'Digest realm="gate", nonce="n0", qop="auth", algorithm=MD5'
            self.reply_with(200 if self.knows_digest() else 401, body, ("WWW-Authenticate", challenge))
        elif kind == "hang":
            threading.Event().wait()

    def reply_with(self, status, body, *headers, length=None):
        self.send_response(status)
        for header in (("Content-Length", str(len(body) if length is None else length)),) + headers:
            self.send_header(*header)
        self.end_headers()
        self.wfile.write(body)

    def knows_digest(self):  # RFC 7616 with MD5
        given = dict(re.findall(r'(\w+)="?([^",]+)', self.headers.get("Authorization", "")))
        if given.get("username") != USER:
            return False
        names = ("nonce", "nc", "cnonce", "qop")
        proof = md5(md5(USER, "gate", PASSWORD), *(given[n] for n in names), md5(self.command, self.path))
        return given["response"] == proof

    def parts(self, body):  # of a form
        found, boundary = {}, self.headers.get_boundary()
        for part in body.split(b"--" + boundary.encode())[1:-1] if boundary else ():
            head, _, data = part.partition(b"\r\n\r\n")
            name = re.search(rb'name="(.*?)"(?:; filename="(.*?)")?', head)
            found[name[1].decode()] = [(name[2] or b"").decode(), described(data[:-2])]
        return found


server = ThreadingHTTPServer(("127.0.0.1", 0), Handler)
server.handle_error = lambda *_: None  # clients leave in the middle
print(server.server_port, flush=True)
threading.Thread(target=server.serve_forever, daemon=True).start()
try:
    sys.stdin.read()
finally:  # also if the test left requests unread
    os._exit(0)
