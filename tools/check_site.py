#!/usr/bin/env python3
"""Looks at each page of the site in a browser, as wide as a screen and as a telephone, and keeps a
picture of it. A page that can be scrolled sideways, that misses a picture, that asks another place
for anything, or whose scripts complain, is told, and the exit status is 1. Needs chromium.

    tools/check_site.py [SITE [PICTURES]]      build/site and build/site_pictures
"""

import argparse
import base64
import json
import os
import select
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
WIDTHS = (1280, 400)
PATIENCE = 60  # seconds without a word of the browser
# What is told of a page: how far it goes sideways, and pictures that did not come.
LOOK = """(() => { const root = document.documentElement;
    return JSON.stringify({wide: root.scrollWidth, high: root.scrollHeight,
        lost: [...document.images].filter(one => one.naturalWidth === 0).map(one => one.src)}); })()"""


class Browser:
    """A browser without a window, which is told what to do through a pipe."""

    def __init__(self, folder):
        to_browser, self.out = os.pipe()
        self.into, from_browser = os.pipe()
        words = ["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--hide-scrollbars",
                 "--remote-debugging-pipe", f"--user-data-dir={folder}", "about:blank"]
        ends = f"exec 3<&{to_browser} 4>&{from_browser}; exec \"$@\""
        self.process = subprocess.Popen(["bash", "-c", ends, "bash", *words], stderr=subprocess.DEVNULL,
                                        pass_fds=(to_browser, from_browser))
        os.close(to_browser)
        os.close(from_browser)
        self.rest = b""
        self.count = 0
        self.session = None
        self.events = []
        target = self.ask("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.ask("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Network", "Runtime", "Log"):
            self.ask(f"{domain}.enable")

    def read(self):
        while b"\0" not in self.rest:
            is_told = select.select([self.into], [], [], PATIENCE)[0]
            piece = os.read(self.into, 1 << 20) if is_told else b""
            if not piece:
                self.process.kill()
                sys.exit(f"check_site.py: the browser {'has ended' if is_told else 'says nothing'}")
            self.rest += piece
        message, self.rest = self.rest.split(b"\0", 1)
        return json.loads(message)

    def ask(self, method, **parameters):
        self.count += 1
        message = {"id": self.count, "method": method, "params": parameters}
        if self.session:
            message["sessionId"] = self.session
        os.write(self.out, json.dumps(message).encode() + b"\0")
        while (answer := self.read()).get("id") != self.count:
            self.events.append(answer)
        if "error" in answer:
            sys.exit(f"check_site.py: {method}: {answer['error']}")
        return answer["result"]

    def go(self, address):
        """Opens a page, and answers what happened until it was there."""
        self.events = []
        self.ask("Page.navigate", url=address)
        while not any(event.get("method") == "Page.loadEventFired" for event in self.events):
            self.events.append(self.read())
        return self.events

    def end(self):
        self.session = None
        self.ask("Browser.close")
        self.process.wait()


def complaints(events):
    for event in events:
        told = event.get("params", {})
        if event.get("method") == "Network.requestWillBeSent":
            address = told["request"]["url"]
            if not address.startswith(("file:", "data:")):
                yield f"asks for {address}"
        elif event.get("method") == "Runtime.exceptionThrown":
            details = told["exceptionDetails"]
            yield details.get("exception", {}).get("description", details["text"])
        elif event.get("method") == "Log.entryAdded" and told["entry"]["level"] == "error":
            yield told["entry"]["text"]


def look_at(browser, page, width, picture, scheme):
    browser.ask("Emulation.setDeviceMetricsOverride", width=width, height=800, deviceScaleFactor=1,
                mobile=False)
    browser.ask("Emulation.setEmulatedMedia",
                features=[{"name": "prefers-color-scheme", "value": scheme}])
    yield from complaints(browser.go(page.as_uri()))
    found = json.loads(browser.ask("Runtime.evaluate", expression=LOOK)["result"]["value"])
    if found["wide"] > width:
        yield f"is {found['wide']} pixels wide on {width}"
    yield from (f"has no {name}" for name in found["lost"])
    area = {"x": 0, "y": 0, "width": width, "height": min(found["high"], 15000), "scale": 1}
    shot = browser.ask("Page.captureScreenshot", format="png", clip=area, captureBeyondViewport=True)
    picture.write_bytes(base64.b64decode(shot["data"]))


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("site", nargs="?", type=Path, default=ROOT / "build/site")
    parser.add_argument("pictures", nargs="?", type=Path, default=ROOT / "build/site_pictures")
    parser.add_argument("--dark", action="store_true", help="in the colours for the dark")
    parser.add_argument("--only", help="pages whose names have this in them")
    arguments = parser.parse_args()
    arguments.pictures.mkdir(parents=True, exist_ok=True)
    site = arguments.site.resolve()
    pages = [page for page in sorted(site.rglob("*.html")) if (arguments.only or "") in page.name]
    count = 0
    with tempfile.TemporaryDirectory() as folder:
        browser = Browser(folder)
        for page in pages:
            name = str(page.relative_to(site).with_suffix("")).replace("/", "_")
            for width in WIDTHS:
                picture = arguments.pictures / f"{name}_{width}.png"
                for told in look_at(browser, page, width, picture,
                                    "dark" if arguments.dark else "light"):
                    print(f"{page.relative_to(site)}: {told}")
                    count += 1
        browser.end()
    print(f"{len(pages)} pages at {' and '.join(map(str, WIDTHS))} pixels: {arguments.pictures}")
    return 1 if count or not pages else 0


if __name__ == "__main__":
    sys.exit(main())
