#!/usr/bin/env python3
"""An HTTPS server for tests, with a throw-away certificate authority.

usage: https_server.py FOLDER

Makes the certificates in FOLDER with the openssl command, listens on 127.0.0.1 at
ports that are free, and writes the file "ports" there, "name port" a line:

  good            a certificate for 127.0.0.1
  otherAuthority  the same from an authority that is not authority.pem
  wrongHost       a certificate for another host
  expired         one that has run out
  plain           HTTP without TLS
  silent          takes connections and never says a word
  refused         nothing listens there

Requests are added to the file "requests", "name path | header: value | ...". The
server ends when the file "ports" or the process that started it is gone, or after
twenty minutes.
"""

import http.server
import os
import socket
import ssl
import subprocess
import sys
import threading
import time

LIMIT = 10_240_000
PAGES = {
    "search": '<html><meta property="og:title" content="Acme &amp; Sons (ACME) Stock Price">'
              '<div data-last-price="1,234.56"></div></html>',
    "analysis": '<script>info:{symbol:"x",p:1},quote:{c:1.2,p:189.84,u:"Nov 24",ex:"N"},'
                'nameFull:"Acme, Inc.",nameShort:"Acme"</script>',
    "news": '<meta name="name" content="Acme Corp"/><meta name="price" content="$">'
            .replace("$", "42.50"),
    "nomarker": "<html>Nothing for sale.</html>",
    "zero": '<div data-last-price="0">quote:{,p:0,u:1} <meta name="price" content="0">',
}
CONFIG = """
[req]
distinguished_name = none
[none]
[authority]
basicConstraints = critical, CA:TRUE
keyUsage = critical, keyCertSign, cRLSign
subjectKeyIdentifier = hash
[server]
extendedKeyUsage = serverAuth
# As an address, and as a name for those that take every host for one.
subjectAltName = IP:127.0.0.1, DNS:127.0.0.1
[stranger]
extendedKeyUsage = serverAuth
subjectAltName = DNS:elsewhere.example
[ca]
default_ca = own
[own]
new_certs_dir = .
database = index
serial = serial
default_md = sha256
policy = any
[any]
commonName = supplied
"""


def openssl(folder, *arguments):
    subprocess.run(["openssl", *arguments], cwd=folder, check=True,
                   stdin=subprocess.DEVNULL, capture_output=True)


def write(folder, name, text):
    """The whole file or none."""
    path = os.path.join(folder, name)
    with open(path + ".new", "w", encoding="utf-8") as file:
        file.write(text)
    os.replace(path + ".new", path)


def make_certificates(folder):
    write(folder, "own.cnf", CONFIG)
    write(folder, "index", "")
    write(folder, "serial", "1000\n")
    key = ["-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes"]
    for authority in ("authority", "other"):
        openssl(folder, "req", "-x509", "-config", "own.cnf", "-extensions", "authority",
                *key, "-keyout", authority + ".key", "-out", authority + ".pem",
                "-days", "2", "-subj", "/CN=Test " + authority)
    openssl(folder, "req", "-config", "own.cnf", *key, "-keyout", "server.key",
            "-out", "server.csr", "-subj", "/CN=Test server")
    now = time.time()
    for name, authority, extensions, start, end in (
            ("good", "authority", "server", -86400, 86400),
            ("otherAuthority", "other", "server", -86400, 86400),
            ("wrongHost", "authority", "stranger", -86400, 86400),
            ("expired", "authority", "server", -172800, -86400)):
        def day(seconds):
            return time.strftime("%Y%m%d%H%M%SZ", time.gmtime(now + seconds))
        write(folder, "index", "")  # the same subject again
        openssl(folder, "ca", "-batch", "-config", "own.cnf", "-notext",
                "-cert", authority + ".pem", "-keyfile", authority + ".key",
                "-extensions", extensions, "-startdate", day(start), "-enddate", day(end),
                "-in", "server.csr", "-out", name + ".pem")


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    timeout = 60

    def log_message(self, *_):
        pass

    def do_GET(self):
        self.server.note(self)
        mode = self.path.split("/")[1]
        answer = getattr(self, "answer_" + mode, None)
        try:
            if answer:
                answer()
            elif mode in PAGES:
                self.send(PAGES[mode].encode())
            else:
                self.send(b"no such page", 404)
        except OSError:
            self.close_connection = True

    def send(self, body, code=200, **headers):
        self.send_response(code)
        for name, value in headers.items():
            self.send_header(name, value)
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)

    def redirect(self, address):
        self.send(b"elsewhere", 302, Location=address)

    def for_ever(self, piece, pause, **headers):
        self.send_response(200)
        for name, value in headers.items():
            self.send_header(name, value)
        self.end_headers()
        while True:
            self.wfile.write(piece)
            self.wfile.flush()
            time.sleep(pause)

    def answer_error(self):
        self.send(PAGES["search"].encode(), 500)

    def answer_endless(self):
        self.for_ever(b"x" * 65536, 0)

    def answer_drip(self):
        self.for_ever(b"x", 0.05)

    def answer_stall(self):
        self.for_ever(b"x", 3600)

    def answer_never(self):
        time.sleep(3600)

    def answer_headers(self):
        self.wfile.write(b"HTTP/1.1 200 OK\r\n")
        while True:
            self.wfile.write(b"X-More: " + b"x" * 1000 + b"\r\n")

    def answer_headerdrip(self):
        self.wfile.write(b"HTTP/1.1 200 OK\r\n")
        while True:
            self.wfile.write(b"X: y\r\n")
            self.wfile.flush()
            time.sleep(0.05)

    def answer_exact(self):
        page = PAGES["search"].encode()
        self.send(page + b"x" * (LIMIT - len(page)))

    def answer_over(self):
        self.send(b"x" * (LIMIT + 1))

    def answer_cut(self):
        self.send_response(200)
        self.send_header("Content-Length", "1000")
        self.end_headers()
        self.wfile.write(PAGES["search"].encode())
        self.close_connection = True

    def answer_rubbish(self):
        self.send(bytes(range(256)) * 64)

    def answer_nohttp(self):
        self.wfile.write(b"\0\1\2 this is no HTTP\r\n\r\n")
        self.close_connection = True

    def answer_tohttp(self):
        self.redirect("http://127.0.0.1:%d/search/" % self.server.plain_port)

    def answer_tofile(self):
        self.redirect("file:///etc/hostname")

    def answer_tohttps(self):
        self.redirect("/step" + self.path[len("/tohttps"):])

    def answer_step(self):
        self.redirect("https://127.0.0.1:%d/search/ACME" % self.server.server_port)

    def answer_tootherauthority(self):
        self.redirect("https://127.0.0.1:%d/search/ACME" % self.server.other_port)

    def answer_loop(self):
        self.redirect(self.path)


class Server(http.server.ThreadingHTTPServer):
    daemon_threads = True
    request_queue_size = 64
    lock = threading.Lock()
    plain_port = other_port = 0

    def __init__(self, folder, name, secure):
        super().__init__(("127.0.0.1", 0), Handler)
        self.folder, self.name = folder, name
        if secure:
            context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
            context.load_cert_chain(os.path.join(folder, name + ".pem"),
                                    os.path.join(folder, "server.key"))
            # The handshake belongs to the request's own thread.
            self.socket = context.wrap_socket(self.socket, server_side=True,
                                              do_handshake_on_connect=False)

    def note(self, handler):
        headers = " | ".join("%s: %s" % item for item in handler.headers.items())
        with Server.lock, open(os.path.join(self.folder, "requests"), "a",
                               encoding="utf-8") as file:
            file.write("%s %s | %s\n" % (self.name, handler.path, headers))

    def handle_error(self, request, client_address):
        pass  # clients that refuse a certificate or hang up


def free_socket(listening):
    taken = socket.socket()
    taken.bind(("127.0.0.1", 0))
    if listening:
        taken.listen(64)
    return taken


def main(folder):
    parent = os.getppid()
    make_certificates(folder)
    servers = [Server(folder, name, name != "plain")
               for name in ("good", "otherAuthority", "wrongHost", "expired", "plain")]
    ports = {server.name: server.server_port for server in servers}
    Server.plain_port = ports["plain"]
    Server.other_port = ports["otherAuthority"]
    for server in servers:
        threading.Thread(target=server.serve_forever, daemon=True).start()
    silent, refused = free_socket(True), free_socket(False)
    ports["silent"] = silent.getsockname()[1]
    ports["refused"] = refused.getsockname()[1]
    write(folder, "ports", "".join("%s %d\n" % item for item in ports.items()))
    end = time.monotonic() + 1200
    while (os.path.exists(os.path.join(folder, "ports")) and os.getppid() == parent
           and time.monotonic() < end):
        time.sleep(0.1)


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    main(sys.argv[1])
