#!/usr/bin/env python3
"""A local process on the screen-sharing wire, independent of the toolkit
(standard library only). Plays clients against a real server, or a server
against a real client, from a scenario file (argument 1) or, without an
argument, its standard input:

  open NAME [PORT]        a UDP socket on 127.0.0.1 (port 0: any)
  send NAME HEX... [@X]   one datagram from NAME to port 65529, or to @PORT,
                          or @peer (@peer=S): the last sender to NAME (to S)
  expect N                wait for N datagrams on all sockets (at most 5 s)
                          plus 60 ms of quiet; print "NAME <- HEX HEX HEX"
                          for each, ordered by the kernel's receive
                          timestamps, and "timeout: got K of N" if short
  sleep MS
"""
import select
import socket
import struct
import sys
import time

SERVER_PORT = 65529
# Linux's value on every architecture; older Pythons lack the name.
SO_TIMESTAMPNS = getattr(socket, "SO_TIMESTAMPNS", 35)


def main():
    socks = {}
    last_sender = {}
    pending = []  # (timestamp, name, bytes)

    def receive_all(timeout):
        ready, _, _ = select.select(list(socks.values()), [], [], timeout)
        got = 0
        for s in ready:
            name = [n for n, v in socks.items() if v is s][0]
            while True:
                try:
                    data, anc, _flags, addr = s.recvmsg(64, 64, socket.MSG_DONTWAIT)
                except BlockingIOError:
                    break
                stamp = time.monotonic_ns()
                for level, kind, payload in anc:
                    if level == socket.SOL_SOCKET and kind == SO_TIMESTAMPNS:
                        sec, nsec = struct.unpack("@ll", payload[:struct.calcsize("@ll")])
                        stamp = sec * 1000000000 + nsec
                pending.append((stamp, name, data))
                last_sender[name] = addr[1]
                got += 1
        return got

    def flush():
        pending.sort(key=lambda p: p[0])
        for _stamp, name, data in pending:
            print("%s <- %s" % (name, " ".join("%02x" % b for b in data)))
        pending.clear()

    if len(sys.argv) > 1:
        with open(sys.argv[1]) as f:
            lines = f.read().splitlines()
    else:
        lines = sys.stdin.read().splitlines()
    for line in lines:
        words = line.split("#", 1)[0].split()
        if not words:
            continue
        cmd = words[0]
        if cmd == "open":
            s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
            s.setsockopt(socket.SOL_SOCKET, SO_TIMESTAMPNS, 1)
            port = int(words[2]) if len(words) > 2 else 0
            try:
                s.bind(("127.0.0.1", port))
            except OSError:
                print("open %s failed" % words[1])
                s.close()
                continue
            socks[words[1]] = s
        elif cmd == "send":
            name = words[1]
            port = SERVER_PORT
            hexes = words[2:]
            if hexes and hexes[-1].startswith("@"):
                target = hexes.pop()[1:]
                if target.startswith("peer"):
                    # @peer: whoever last sent to this socket; @peer=S: to S
                    port = last_sender.get(target[5:] or name, 0)
                else:
                    port = int(target)
            socks[name].sendto(bytes(int(h, 16) for h in hexes), ("127.0.0.1", port))
        elif cmd == "expect":
            want = int(words[1])
            deadline = time.monotonic() + 5.0
            while len(pending) < want and time.monotonic() < deadline:
                receive_all(max(0.0, deadline - time.monotonic()))
            while receive_all(0.06):
                pass
            if len(pending) < want:
                print("timeout: got %d of %d" % (len(pending), want))
            flush()
        elif cmd == "sleep":
            time.sleep(int(words[1]) / 1000.0)
        else:
            print("bad command: " + line)
    sys.stdout.flush()


if __name__ == "__main__":
    main()
