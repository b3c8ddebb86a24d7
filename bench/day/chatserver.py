"""A chat room on this machine alone: the least of an IRC server for one guest, so that a real chat
program has something to show. Its port is the kernel's choice on the loopback address."""
import socket
import threading

GUEST, ROOM = "jonas", "#office"


class ChatServer:
    def __init__(self):
        self._socket = socket.create_server(("127.0.0.1", 0))
        self._guest = None
        self._joined = threading.Event()
        threading.Thread(target=self._serve, name="chat", daemon=True).start()

    @property
    def address(self):
        return f"irc://127.0.0.1:{self._socket.getsockname()[1]}/{ROOM.removeprefix('#')}"

    def wait_for_guest(self):
        if not self._joined.wait(30):
            raise RuntimeError("nobody came into the chat room")

    def say(self, who, text):
        self._send(f":{who}!{who}@office PRIVMSG {ROOM} :{text}")

    def _send(self, line):
        self._guest.sendall(f"{line}\r\n".encode())

    def _serve(self):
        self._guest, _ = self._socket.accept()
        with self._guest.makefile("r", encoding="utf-8") as lines:
            for line in lines:
                self._answer(line.split())

    def _answer(self, words):
        command = words[0] if words else ""
        if command == "USER":
            self._send(f":office 001 {GUEST} :Welcome")
            self._send(f":office 376 {GUEST} :That is all")
        elif command == "PING":
            self._send(f":office PONG office {words[1]}")
        elif command == "JOIN":
            self._send(f":{GUEST}!{GUEST}@office JOIN {ROOM}")
            self._send(f":office 353 {GUEST} = {ROOM} :{GUEST} ana wei")
            self._send(f":office 366 {GUEST} {ROOM} :That is all")
            self._joined.set()
