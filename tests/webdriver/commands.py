#!/usr/bin/env python3
"""What of WebDriver works in pagehost, beside MiniBrowser with the same driver.

Tries every command of the W3C recommendation in both and writes the table of docs/webdriver.md:

    PAGEHOST=build/release/bin/pagehost tests/webdriver/commands.py > docs/webdriver.md

With --check it only fails if pagehost does not do what the table on the disk says. It needs a display."""

import base64
import pathlib
import re
import sys
import tempfile

from wire import ELEMENT, SHADOW, Driver, Refused, equal, program, served, until

MINIBROWSER = next(iter(pathlib.Path("/usr/lib").glob("*/webkit2gtk-4.1/MiniBrowser")), None)
TABLE = pathlib.Path(__file__).parents[2] / "docs/webdriver.md"

PAGE = """<!doctype html><title>one</title><style>body { margin: 0; height: 3000px } #box { width: 90px; height: 40px;
background: rgb(0, 128, 0); touch-action: none }</style><p id=text>some <b class=x>text</b></p><a id=link href=/two>two</a>
<button id=button aria-label=push onclick="note('click')">b</button><input id=field value=old><input id=check type=checkbox checked>
<input id=file type=file><input id=off disabled><div id=host></div><div id=box></div><iframe src=/inner width=90 height=40></iframe>
<script>const seen = []; const note = (what) => seen.push(what);
host.attachShadow({mode: 'open'}).innerHTML = '<i>shadow</i>';
for (const type of ['mousedown', 'mouseup', 'contextmenu', 'dblclick', 'touchstart', 'touchend', 'wheel', 'keydown', 'keyup'])
  addEventListener(type, (e) => note(type + (e.key ?? e.button ?? '')), {passive: true});
</script>"""
PAGES = {"/": PAGE, "/two": "<title>two</title><p>second", "/inner": "<title>inner</title><p id=in>inside",
         "/asks": "<title>asks</title><script>setTimeout(() => "
                  "document.title = `${alert('hello')} ${confirm('sure?')} ${prompt('name?', 'x')}`)</script>"}

commands = []


# What the engine is known to do otherwise, wherever it is.
reasons = {}


def command(name, why=""):
    def add(check):
        commands.append((name, check))
        reasons[name] = why
        return check
    return add


def of_element(name, selector, path, wanted):
    commands.append((name, lambda s: equal(s.get(f"element/{s.find(selector)}/{path}"), wanted)))


@command("Status")
def _(s):
    s.driver.ask("GET", "/status")


@command("Get Timeouts, Set Timeouts")
def _(s):
    s.post("timeouts", implicit=7)
    equal(s.get("timeouts")["implicit"], 7)
    s.post("timeouts", implicit=0)


@command("Navigate To, Get Current URL, Get Title")
def _(s):
    s.post("url", url=s.address + "/two")
    equal((s.get("url"), s.get("title")), (s.address + "/two", "two"))


@command("Back, Forward")
def _(s):
    s.post("url", url=s.address + "/two")
    s.post("back")
    equal(s.get("title"), "one")
    s.post("forward")
    equal(s.get("title"), "two")


@command("Refresh")
def _(s):
    s.run("document.title = 'changed'")
    s.post("refresh")
    equal(s.get("title"), "one")


@command("Get Window Handle, Get Window Handles")
def _(s):
    equal(s.get("window/handles"), [s.get("window")])


def in_new_window(kind):
    def check(s):
        first = s.get("window")
        new = s.post("window/new", type=kind)["handle"]
        equal(set(s.get("window/handles")), {first, new})
        equal(s.get("window"), first)
        s.post("window", handle=new)
        s.post("url", url=s.address + "/two")
        equal(s.get("title"), "two")
        until(lambda: s.run("return document.visibilityState") == "visible", seconds=5)
        s.post("window", handle=first)
        equal(s.get("title"), "one")
        until(lambda: s.run("return document.visibilityState") == "visible", seconds=5)
        s.click("#button")
        equal(s.run("return seen.at(-1)"), "click")
        s.post("window", handle=new)
        equal(s.delete("window"), [first])
        s.post("window", handle=first)
    return check


for each in ("tab", "window"):
    command(f"New Window ({each}), Switch To Window, Close Window", f"switching does not show the {each}")(in_new_window(each))


@command("Windows that pages open: Switch To Window, Close Window")
def _(s):
    first = s.get("window")
    s.run("document.body.insertAdjacentHTML('afterbegin', '<a id=opens target=_blank href=/two>x</a>')")
    s.click("#opens")
    (new,) = until(lambda: set(s.get("window/handles")) - {first}, seconds=5)
    s.post("window", handle=new)
    until(lambda: s.get("title") == "two", seconds=5)
    s.delete("window")
    s.post("window", handle=first)


@command("Switch To Frame, Switch To Parent Frame")
def _(s):
    s.post("frame", id={ELEMENT: s.find("iframe")})
    equal(s.text("#in"), "inside")
    s.post("frame/parent")
    s.find("#text")
    s.post("frame", id=0)
    s.post("frame", id=None)
    s.find("#text")


@command("Get Window Rect, Set Window Rect")
def _(s):
    old = s.get("window/rect")
    s.post("window/rect", width=700, height=500)
    until(lambda: (lambda r: (r["width"], r["height"]))(s.get("window/rect")) == (700, 500), seconds=5)
    s.click("#button")
    equal(s.run("return seen.at(-1)"), "click")
    s.post("window/rect", width=old["width"], height=old["height"])


@command("Maximize Window")
def _(s):
    s.post("window/maximize")


@command("Fullscreen Window", "the engine wants a click in the page first")
def fill_screen(s, seconds=1):
    s.post("window/fullscreen")
    rect = s.get("window/rect")
    until(lambda: s.run("return document.fullscreenElement && [innerWidth, innerHeight]") == [rect["width"], rect["height"]], seconds=seconds)
    s.run("document.exitFullscreen()")
    until(lambda: not s.run("return document.fullscreenElement"), seconds=seconds)


@command("Fullscreen Window, after a click in the page")
def _(s):
    s.click("#button")
    fill_screen(s, 5)


@command("Minimize Window")
def _(s):
    s.post("window/minimize")
    s.post("window/rect", width=800, height=600)


@command("Get Active Element")
def _(s):
    s.run("field.focus()")
    equal(s.get("element/active")[ELEMENT], s.find("#field"))


@command("Find Element, Find Elements")
def _(s):
    for using, value in [("css selector", "#link"), ("link text", "two"), ("partial link text", "tw"), ("tag name", "a"),
                         ("xpath", "//a")]:
        equal(s.post("element", using=using, value=value)[ELEMENT], s.find("#link"))
    equal(len(s.post("elements", using="css selector", value="input")), 4)


@command("Find Element From Element, Find Elements From Element")
def _(s):
    root = f"element/{s.find('#text')}/"
    equal(s.find("b", root), s.find("b"))
    equal(len(s.post(root + "elements", using="css selector", value="b")), 1)


@command("Get Element Shadow Root, Find Element From Shadow Root, Find Elements From Shadow Root")
def _(s):
    root = f"shadow/{s.get(f'element/' + s.find('#host') + '/shadow')[SHADOW]}/"
    equal(s.get(f"element/{s.find('i', root)}/text"), "shadow")
    equal(len(s.post(root + "elements", using="css selector", value="i")), 1)


of_element("Is Element Selected", "#check", "selected", True)
of_element("Get Element Attribute", "b", "attribute/class", "x")
of_element("Get Element Property", "#field", "property/value", "old")
of_element("Get Element CSS Value", "#box", "css/width", "90px")
of_element("Get Element Text", "#text", "text", "some text")
of_element("Get Element Tag Name", "#text", "name", "p")
of_element("Is Element Enabled", "#off", "enabled", False)
of_element("Get Computed Role", "#button", "computedrole", "button")
of_element("Get Computed Label", "#button", "computedlabel", "push")


@command("Get Element Rect")
def _(s):
    rect = s.get(f"element/{s.find('#box')}/rect")
    equal((rect["width"], rect["height"]), (90, 40))


@command("Element Click")
def _(s):
    s.click("#button")
    equal(s.run("return seen"), ["mousedown0", "mouseup0", "click"])
    s.click("#link")
    equal(s.get("title"), "two")


@command("Element Clear, Element Send Keys")
def _(s):
    field = s.find("#field")
    s.post(f"element/{field}/clear")
    s.post(f"element/{field}/value", text="Grüße 1")
    equal(s.get(f"element/{field}/property/value"), "Grüße 1")


@command("Element Send Keys: file upload")
def _(s):
    with tempfile.NamedTemporaryFile("w", suffix=".txt") as file:
        file.write("content")
        file.flush()
        s.post(f"element/{s.find('#file')}/value", text=file.name)
        equal(s.post("execute/async", script="file.files[0].text().then(arguments[0])", args=[]), "content")


@command("Get Page Source")
def _(s):
    assert "some <b" in s.get("source")


@command("Execute Script, Execute Async Script")
def _(s):
    equal(s.run("return [arguments[0] + 1, field]", 2)[1][ELEMENT], s.find("#field"))
    equal(s.post("execute/async", script="setTimeout(() => arguments[1](arguments[0] * 2))", args=[4]), 8)


@command("Add Cookie, Get All Cookies, Get Named Cookie")
def _(s):
    s.post("cookie", cookie={"name": "n", "value": "v", "sameSite": "Strict"})
    equal([each["name"] for each in s.get("cookie")], ["n"])
    equal((s.get("cookie/n")["value"], s.run("return document.cookie")), ("v", "n=v"))


@command("Delete Cookie", "the engine keeps a cookie that is deleted by its name")
def _(s):
    for name in "ab":
        s.post("cookie", cookie={"name": name, "value": "v"})
    s.delete("cookie/a")
    # The engine answers before its network process has done it.
    until(lambda: [each["name"] for each in s.get("cookie")] == ["b"], seconds=2)


@command("Delete All Cookies")
def _(s):
    s.post("cookie", cookie={"name": "c", "value": "v"})
    s.delete("cookie")
    until(lambda: s.get("cookie") == [], seconds=2)


def centre(s, selector):
    return {"type": "pointerMove", "duration": 0, "x": 0, "y": 0, "origin": {ELEMENT: s.find(selector)}}


def press(button):
    return [{"type": "pointerDown", "button": button}, {"type": "pointerUp", "button": button}]


@command("Perform Actions: mouse")
def _(s):
    s.perform("pointer", centre(s, "#box"), *press(0), *press(0))
    equal(s.run("return seen"), ["mousedown0", "mouseup0", "mousedown0", "mouseup0", "dblclick0"])


@command("Perform Actions: mouse, other buttons", "their release arrives as that of the left one")
def _(s):
    s.perform("pointer", centre(s, "#box"), *press(2))
    equal(s.run("return seen"), ["mousedown2", "contextmenu2", "mouseup2"])


@command("Perform Actions: keys")
def _(s):
    s.run("field.focus()")
    s.perform("key", {"type": "keyDown", "value": "\ue008"}, {"type": "keyDown", "value": "a"},
              {"type": "keyUp", "value": "a"}, {"type": "keyUp", "value": "\ue008"})
    equal(s.run("return seen"), ["keydownShift", "keydownA", "keyupA", "keyupShift"])


@command("Perform Actions: wheel")
def _(s):
    s.perform("wheel", {"type": "scroll", "x": 20, "y": 20, "deltaX": 0, "deltaY": 300, "duration": 0})
    until(lambda: s.run("return scrollY") > 0, seconds=5)


@command("Perform Actions: touch", "it arrives as the mouse")
def _(s):
    s.perform("pointer", centre(s, "#box"), *press(0), pointerType="touch")
    equal(s.run("return seen.filter((e) => e.startsWith('touch'))"), ["touchstart", "touchend"])


@command("Release Actions")
def _(s):
    s.perform("key", {"type": "keyDown", "value": "k"})
    s.delete("actions")
    assert "keyupk" in s.run("return seen")


@command("Get Alert Text, Accept Alert, Dismiss Alert, Send Alert Text")
def _(s):
    s.post("url", url=s.address + "/asks")
    for text, answer in [("hello", "accept"), ("sure?", "dismiss"), ("name?", "accept")]:
        until(lambda: s.get("alert/text") == text, refused=(Refused,), seconds=5)
        if text == "name?":
            s.post("alert/text", text="Ada")
        s.post(f"alert/{answer}")
    until(lambda: s.get("title") == "undefined false Ada", seconds=5)


def size_of(picture):
    data = base64.b64decode(picture)
    equal(data[:4], b"\x89PNG")
    return int.from_bytes(data[16:20], "big"), int.from_bytes(data[20:24], "big")


@command("Take Screenshot")
def _(s):
    equal(list(size_of(s.get("screenshot"))), s.run("return [innerWidth, innerHeight]"))


@command("Take Element Screenshot")
def _(s):
    equal(size_of(s.get(f"element/{s.find('#box')}/screenshot")), (90, 40))


@command("Print Page")
def _(s):
    equal(base64.b64decode(s.post("print"))[:4], b"%PDF")


# The last one: it ends the session of all of them.
@command("Delete Session")
def _(s):
    s.driver.ask("DELETE", f"/session/{s.id}")
    try:
        s.get("title")
    except Refused as error:
        equal(error.code, "invalid session id")
    else:
        raise AssertionError("it goes on")


def outcome(session, name, check):
    """"yes", or why not."""
    try:
        first, *others = session.get("window/handles")
        for other in others:
            session.post("window", handle=other)
            session.delete("window")
        session.post("window", handle=first)
        session.post("url", url=session.address + "/")
        check(session)
        return "yes"
    except Refused as error:
        print(f"{name}: {error}", file=sys.stderr)
        return f"no: {error.code}"
    except (AssertionError, ValueError) as error:
        print(f"{name}: {error!r}", file=sys.stderr)
        return f"no: {reasons.get(name) or 'it does not have its effect'}"


def column(driver, address, binary):
    with driver.session(binary, "--automation") as session:
        session.address = address
        return {"New Session": "yes", **{name: outcome(session, name, check) for name, check in commands}}


def table(columns):
    rows = [f"| {name} | {' | '.join(each[name] for each in columns)} |" for name in columns[0]]
    return "\n".join(["| command | MiniBrowser | pagehost |", "|---|---|---|", *rows])


HEAD = """# WebDriver, command by command

Written by `tests/webdriver/commands.py`, which tries each command of the W3C recommendation and looks at what
it did: in the engine's own small browser and in `pagehost --automation`, with the same WebKitWebDriver, on a
display without a window manager. [How to use it](testing-your-chrome.md).

"""


def main():
    driver = Driver()
    try:
        with served(PAGES) as address:
            ours = column(driver, address, program())
            if "--check" not in sys.argv:
                sys.stdout.write(HEAD + table([column(driver, address, str(MINIBROWSER)), ours]) + "\n")
                return
    finally:
        driver.end()
    on_disk = dict(re.findall(r"^\| (.*?) \| .* \| (.*) \|$", TABLE.read_text(), re.M)[1:])
    other = [f"{name}: {on_disk.get(name)} there, {ours.get(name)} here" for name in {**on_disk, **ours}
             if on_disk.get(name) != ours.get(name)]
    if other:
        sys.exit("\n".join([f"{TABLE} differs:", *other]))


if __name__ == "__main__":
    main()
