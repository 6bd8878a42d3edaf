#!/usr/bin/python3
# The preview's renderer: a LibreOffice kept running by the program (WarmRenderer) is driven over
# UNO by this helper, so that a workbook becomes a PDF without LibreOffice starting for every
# preview.
#
#   buhinhyo-render.py PIPE_NAME
#
# It connects to the LibreOffice listening on the named pipe (waiting for it to come up), says
# {"ready": true} on standard output, then serves one request per line of standard input:
#   {"in": workbook, "out": pdf, "first": pdf of page 1 or ""}
# and answers, one JSON line each: {"first": true} when page 1 alone is written (when asked for),
# then {"done": true}, or {"error": text}. Each PDF is written under a temporary name and renamed,
# so a file that is there is complete. The helper ends at the end of its standard input (the
# program ended) and when LibreOffice is gone.
import json
import os
import sys
import tempfile
import time

try:
    import uno
    from com.sun.star.beans import PropertyValue
except ImportError as e:
    print(json.dumps({"fatal": "python3-uno: %s" % e}), flush=True)
    sys.exit(2)


def props(**values):
    out = []
    for name, value in values.items():
        p = PropertyValue()
        p.Name = name
        p.Value = value
        out.append(p)
    return tuple(out)


def say(**what):
    # UTF-8 both ways, whatever the locale says.
    sys.stdout.buffer.write((json.dumps(what) + "\n").encode("utf-8"))
    sys.stdout.buffer.flush()


def connect(pipe, seconds):
    local = uno.getComponentContext()
    resolver = local.ServiceManager.createInstanceWithContext("com.sun.star.bridge.UnoUrlResolver", local)
    until = time.monotonic() + seconds
    while True:
        try:
            ctx = resolver.resolve("uno:pipe,name=%s;urp;StarOffice.ComponentContext" % pipe)
            return ctx.ServiceManager.createInstanceWithContext("com.sun.star.frame.Desktop", ctx)
        except Exception:
            if time.monotonic() > until:
                raise
            time.sleep(0.05)


def store(doc, path, **filter_data):
    part = path + ".part"
    args = {"FilterName": "calc_pdf_Export", "Overwrite": True}
    if filter_data:
        args["FilterData"] = uno.Any("[]com.sun.star.beans.PropertyValue", props(**filter_data))
    doc.storeToURL(uno.systemPathToFileUrl(part), props(**args))
    os.replace(part, path)


def render(desktop, request, quiet=False):
    # Loaded as the converter loads a file: hidden, read-only, no macros, links not updated.
    doc = desktop.loadComponentFromURL(
        uno.systemPathToFileUrl(os.path.abspath(request["in"])), "_blank", 0,
        props(Hidden=True, ReadOnly=True, MacroExecutionMode=0, UpdateDocMode=0))
    if doc is None:
        raise RuntimeError("could not load %s" % request["in"])
    try:
        if request.get("first"):
            store(doc, request["first"], PageRange="1")
            if not quiet:
                say(first=True)
        store(doc, request["out"])
    finally:
        doc.close(True)


def prime(desktop):
    # The first workbook LibreOffice opens loads its spreadsheet, .xlsx and PDF filters: done here
    # with a small workbook of its own, so that the user's first preview is as quick as the next.
    with tempfile.TemporaryDirectory(prefix="buhinhyo-render-") as folder:
        book = os.path.join(folder, "prime.xlsx")
        doc = desktop.loadComponentFromURL("private:factory/scalc", "_blank", 0, props(Hidden=True))
        try:
            doc.Sheets.getByIndex(0).getCellByPosition(0, 0).setString("部品表")
            doc.storeToURL(uno.systemPathToFileUrl(book), props(FilterName="Calc Office Open XML"))
        finally:
            doc.close(True)
        render(desktop, {"in": book, "out": os.path.join(folder, "prime.pdf"),
                         "first": os.path.join(folder, "prime-1.pdf")}, quiet=True)


def main():
    if len(sys.argv) != 2:
        print("usage: buhinhyo-render.py PIPE_NAME", file=sys.stderr)
        return 1
    try:
        desktop = connect(sys.argv[1], 90)
    except Exception as e:
        print("buhinhyo-render: no LibreOffice on pipe %s: %s" % (sys.argv[1], e), file=sys.stderr)
        return 3
    try:
        prime(desktop)
    except Exception as e:
        print("buhinhyo-render: warming up: %s: %s" % (type(e).__name__, e), file=sys.stderr)
    say(ready=True)
    for line in sys.stdin.buffer:
        if not line.strip():
            continue
        try:
            render(desktop, json.loads(line.decode("utf-8")))
            say(done=True)
        except Exception as e:
            say(error="%s: %s" % (type(e).__name__, e))
            # A bridge that is gone (LibreOffice ended) does not come back: the program restarts both.
            if "Disposed" in type(e).__name__ or "RuntimeException" in type(e).__name__:
                return 4
    return 0


if __name__ == "__main__":
    sys.exit(main())
