"""Files dragged to a window and dropped there, by the protocol of the X desktops (XDND 5)."""
import time

from Xlib import X, display
from Xlib.protocol import event


def drop_files(window, uris, x, y, patience=30):
    """Whether the window took them; (x, y) is the place on the screen."""
    server = display.Display()
    atom = server.intern_atom
    source = server.screen().root.create_window(0, 0, 1, 1, 0, X.CopyFromParent)
    target = server.create_resource_object("window", window)

    def send(kind, *data):
        data = [source.id, *data, 0, 0, 0, 0][:5]
        target.send_event(event.ClientMessage(window=target, client_type=atom(kind),
                                              data=(32, data)))
        server.flush()

    def hand_over(request):
        names = "".join(uri + "\r\n" for uri in uris).encode()
        request.requestor.change_property(request.property, request.target, 8, names)
        request.requestor.send_event(event.SelectionNotify(
            time=request.time, requestor=request.requestor, selection=request.selection,
            target=request.target, property=request.property))
        server.flush()

    source.set_selection_owner(atom("XdndSelection"), X.CurrentTime)
    send("XdndEnter", 5 << 24, atom("text/uri-list"))
    send("XdndPosition", 0, x << 16 | y, X.CurrentTime, atom("XdndActionCopy"))
    end = time.monotonic() + patience
    while time.monotonic() < end:
        if not server.pending_events():
            time.sleep(0.02)
            continue
        now = server.next_event()
        kind = server.get_atom_name(now.client_type) if now.type == X.ClientMessage else ""
        if now.type == X.SelectionRequest:
            hand_over(now)
        elif kind == "XdndStatus":
            send("XdndDrop", 0, X.CurrentTime)
        elif kind == "XdndFinished":
            return True
    return False
