#!/usr/bin/env python3
"""Secure connections for the scripted servers of the Windows tests: tls-relay.py FOLDER

Listens on a free loopback port and writes its number to FOLDER/port. Takes one line per connection:

    identity NAME     makes a self-signed certificate for "DNS:localhost"; answers its number and, from the next line on,
                      the certificate
    serve NUMBER PORT answers a port: secure connections to it, with that certificate, are handed on to PORT
"""
import asyncio
import os
import ssl
import subprocess
import sys

folder = sys.argv[1]
contexts = []


def make_identity(name):
    """Certificates of one test have subjects of their own, so that none is taken for another's issuer."""
    key = os.path.join(folder, f"{len(contexts)}.key")
    certificate = os.path.join(folder, f"{len(contexts)}.pem")
    subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes",
                    "-keyout", key, "-out", certificate, "-days", "1", "-subj", f"/CN=test server {os.urandom(8).hex()}",
                    "-addext", f"subjectAltName={name}"], check=True, stderr=subprocess.DEVNULL)
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(certificate, key)
    contexts.append(context)
    with open(certificate, encoding="ascii") as text:
        return f"{len(contexts) - 1}\n{text.read()}"


async def hand_on(reader, writer):
    """Ends the other side's connection with this side's."""
    try:
        while data := await reader.read(65536):
            writer.write(data)
            await writer.drain()
    except OSError:
        pass
    writer.close()


async def serve(number, port):
    async def relay(reader, writer):
        inner_reader, inner_writer = await asyncio.open_connection("127.0.0.1", port)
        await asyncio.gather(hand_on(reader, inner_writer), hand_on(inner_reader, writer))

    server = await asyncio.start_server(relay, "127.0.0.1", 0, ssl=contexts[number])
    return str(server.sockets[0].getsockname()[1])


async def answer(reader, writer):
    words = (await reader.readline()).decode().split()
    if words[0] == "identity":
        reply = make_identity(words[1])
    else:
        reply = await serve(int(words[1]), int(words[2]))
    writer.write(reply.encode())
    writer.close()


async def main():
    server = await asyncio.start_server(answer, "127.0.0.1", 0)
    unfinished = os.path.join(folder, "port.new")
    with open(unfinished, "w", encoding="ascii") as file:
        file.write(f"{server.sockets[0].getsockname()[1]}\n")
    os.rename(unfinished, os.path.join(folder, "port"))
    await server.serve_forever()


asyncio.run(main())
