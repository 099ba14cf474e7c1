#!/usr/bin/env python3
"""galleryChecker.py PAGE INFO EXPLAIN: looks at a gallery in a headless Chromium, as its user does.

INFO and EXPLAIN hold what `kpximage info --json` and `kpximage explain --json` print of the same files. Prints what is
wrong and ends with 1 where anything is.
"""

import json
import os
import pathlib
import re
import sys

sys.path.append("/usr/lib/python3/dist-packages")  # of Debian's packages, whichever interpreter runs this
from selenium import webdriver
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

ARGUMENTS = ["--headless=new", "--disable-gpu", "--disable-quic", "--no-first-run", "--disable-background-networking",
             "--disable-component-update", "--disable-sync", "--window-size=1280,1000"]

failures = []


def expect(actual, expected, what):
    if actual == expected:
        return
    failures.append(what)
    if isinstance(actual, list) and isinstance(expected, list):
        missing = [item for item in expected if item not in actual][:5]
        surplus = [item for item in actual if item not in expected][:5]
        print(f"{what}: {len(actual)} instead of {len(expected)}; missing {missing!r}, surplus {surplus!r}")
    else:
        print(f"{what}: {actual!r} instead of {expected!r}")


def start_browser():
    options = webdriver.ChromeOptions()
    for argument in ARGUMENTS + (["--no-sandbox"] if os.getuid() == 0 else []):
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
    return webdriver.Chrome(options=options)


# What stands in the page.

CARDS = """
return [...document.querySelectorAll(".card")].map((card) => {
  const image = card.querySelector(".open img");
  return {name: card.querySelector("h2").textContent, text: card.textContent, shown: card.offsetParent !== null,
          size: image && [image.naturalWidth, image.naturalHeight], alt: image && image.alt};
});"""

# The opened picture: what it is called and measures, and its texels as the page draws them.
VIEWER = """
const picture = document.getElementById("colour-picture"), alpha = document.getElementById("alpha-picture");
await Promise.all([picture.decode(), alpha.src ? alpha.decode() : null]);
const frame = document.getElementById("picture");
return {name: document.getElementById("viewer-name").textContent, open: document.getElementById("viewer").open,
        size: [picture.naturalWidth, picture.naturalHeight], view: frame.dataset.view,
        alphaSize: frame.classList.contains("transparent") ? [alpha.naturalWidth, alpha.naturalHeight] : null};"""


class Gallery:
    def __init__(self, browser, infos, explanations):
        self.browser = browser
        self.run = browser.execute_script
        self.infos = {info["file"]: info for info in infos if info.get("recognised")}
        self.explanations = {item["file"]: item for item in explanations}

    def wait(self, script, *arguments):
        """Runs a script whose value is a promise."""
        script = f"const done = arguments[arguments.length - 1]; (async () => {{ {script} }})().then(done, e => done(String(e)));"
        value = self.browser.execute_async_script(script, *arguments)
        if isinstance(value, str):
            raise RuntimeError(value)
        return value

    def press(self, key):
        ActionChains(self.browser).send_keys(key).perform()

    def cards(self):
        return self.run(CARDS)

    def shown(self):
        return sorted(card["name"] for card in self.cards() if card["shown"])

    def expect_cards(self):
        cards = self.cards()
        expect(sorted(card["name"] for card in cards), sorted(self.explanations), "files of the page")
        for card in cards:
            name, info = card["name"], self.infos.get(card["name"])
            expect(card["size"] is not None, info is not None, f"{name}: has a picture")
            expect("undefined" in card["text"], False, f"{name}: has nothing undefined")
            for kind in ("causes", "surprises", "mends"):
                for remark in self.explanations[name][kind]:
                    expect(remark["sentence"] in card["text"], True, f"{name}: tells {remark['sentence']}")
            if info is None:
                continue
            size = [info["width"], info["height"]]
            if max(size) <= 320:
                expect(card["size"], size, f"{name}: size of the thumbnail")
            expect(card["alt"], f"{name}, {size[0]} × {size[1]}", f"{name}: alternative text")

    def set_value(self, selector, value):
        self.run("""const field = document.querySelector(arguments[0]); field.value = arguments[1];
                            field.dispatchEvent(new Event("input", {bubbles: true}));""", selector, value)

    def expect_shown(self, expected, what):
        expect(self.shown(), sorted(expected), what)
        count = self.run("return document.getElementById('count').textContent")
        expect(int(re.match(r"\d+", count).group()), len(expected), f"{what}: number told")

    def expect_state_filters(self):
        def state(item):
            if item["verdict"] == "refused" or item["file"] not in self.infos:
                return "failed"
            if item["verdict"] == "black":
                return "black"
            return "noted" if item["surprises"] or item["mends"] else "fine"
        states = {name: state(item) for name, item in self.explanations.items()}
        wanted = {choice: [name for name, found in states.items() if found == choice]
                  for choice in ("noted", "black", "failed")}
        wanted["trouble"] = [name for name, found in states.items() if found != "fine"]
        wanted["repair"] = [name for name, item in self.explanations.items() if item["mends"]]
        wanted["all"] = list(states)
        for choice, names in wanted.items():
            self.run(f"document.querySelector('[name=state][value={choice}]').click()")
            self.expect_shown(names, f"filter {choice}")

    def expect_format_filter(self):
        options = self.run("return [...document.getElementById('format').options].map(o => [o.value, o.text])")
        formats = {}
        for name, item in self.explanations.items():
            if "header" in item:
                # The page leaves out the masks themselves.
                stem = re.sub(r" \(0x.*", "", item["header"]["format"])
                formats.setdefault(stem, []).append(name)
        expect(sorted(value for value, _ in options if value), sorted(formats), "formats to filter by")
        for value, names in formats.items():
            expect([value, f"{value} ({len(names)})"] in options, True, f"format {value}: number")
            self.set_value("#format", value)
            self.expect_shown(names, f"format {value}")
        self.set_value("#format", "")

    def expect_word_filter(self):
        self.set_value("#words", "dxt1 ODD")
        self.expect_shown([name for name in self.explanations if "dxt1-odd" in name], "words")
        self.set_value("#words", "nothing is called so")
        self.expect_shown([], "words that nothing has")
        self.run("document.getElementById('reset').click()")
        self.expect_shown(list(self.explanations), "after the reset")

    def viewer(self):
        return self.wait(VIEWER)

    def expect_every_picture(self):
        """Opens the first file by keyboard and goes on through all."""
        names = [card["name"] for card in self.cards() if card["size"]]
        self.run("document.querySelector('.open').focus()")
        self.press(Keys.ENTER)
        for name in names:
            viewer = self.viewer()
            expect(viewer["name"], name, "opened file")
            size = [self.infos[name]["width"], self.infos[name]["height"]]
            expect(viewer["size"], size, f"{name}: size of the picture")
            if viewer["alphaSize"] is not None:
                expect(viewer["alphaSize"], size, f"{name}: size of its alpha")
                expect(self.infos[name]["matteChannels"], 1, f"{name}: has alpha")
            self.press(Keys.ARROW_RIGHT)
        expect(self.viewer()["name"], names[0], "after the last comes the first")
        self.press(Keys.ARROW_LEFT)
        expect(self.viewer()["name"], names[-1], "before the first comes the last")
        self.press(Keys.ESCAPE)
        self.expect_closed(names[-1])

    def expect_closed(self, name):
        self.wait("await new Promise(requestAnimationFrame)")
        expect(self.run("return document.getElementById('viewer').open"), False, "Escape closes")
        focus = "return document.activeElement.closest('.card')?.querySelector('h2').textContent"
        expect(self.run(focus), name, "focus after Escape")

    def open_card(self, name):
        self.run("""[...document.querySelectorAll(".card")].find((card) =>
            card.querySelector("h2").textContent === arguments[0]).querySelector(".open").focus();""", name)
        self.press(Keys.ENTER)
        self.viewer()

    def choose(self, view):
        self.run(f"document.querySelector('button[data-view={view}]').click()")

    def screenshot(self):
        """The picture as it comes out on the screen, as a function from its texels to colours."""
        image = self.browser.find_element(By.ID, "picture").screenshot_as_base64
        at = """
            const image = new Image();
            image.src = "data:image/png;base64," + arguments[0];
            await image.decode();
            const canvas = new OffscreenCanvas(image.width, image.height), context = canvas.getContext("2d", {willReadFrequently: true});
            context.drawImage(image, 0, 0);
            return arguments[1].map(([x, y]) =>
              [...context.getImageData(x * image.width, y * image.height, 1, 1).data.slice(0, 3)]);"""
        return lambda places: self.wait(at, image, places)

    def expect_channels(self, name, texels):
        """texels: places from 0 to 1 in the picture, and the red, green, blue and alpha that are there."""
        self.open_card(name)
        places = [place for place, _ in texels]
        for index, view in enumerate(("red", "green", "blue", "alpha")):
            self.choose(view)
            expect(self.screenshot()(places), [[values[index]] * 3 for _, values in texels], f"{name}: {view}")
        self.choose("colour")
        expect(self.screenshot()(places), [list(values[:3]) for _, values in texels], f"{name}: colour without alpha")
        self.choose("all")
        for (_, values), seen in zip(texels, self.screenshot()(places)):
            if values[3] == 255:
                expect(seen, list(values[:3]), f"{name}: all channels where it is opaque")
            if values[3] == 0:
                expect(seen[0] == seen[1] and seen[0] > 128, True, f"{name}: checkerboard where it is transparent")
        self.press(Keys.ESCAPE)
        self.expect_closed(name)


def main():
    page, info, explain = sys.argv[1:]
    read = lambda path: [json.loads(line) for line in pathlib.Path(path).read_text().splitlines()]
    browser = start_browser()
    try:
        browser.get(pathlib.Path(page).resolve().as_uri())
        gallery = Gallery(browser, read(info), read(explain))
        gallery.expect_cards()
        gallery.expect_state_filters()
        gallery.expect_format_filter()
        gallery.expect_word_filter()
        gallery.expect_every_picture()
        # Two by two texels, as the script that calls this made them.
        gallery.expect_channels("hidden.dds", [((0.25, 0.25), (200, 100, 50, 0)), ((0.75, 0.25), (10, 20, 30, 255)),
                                               ((0.25, 0.75), (0, 255, 128, 255)), ((0.75, 0.75), (255, 0, 90, 77))])
        for kind, is_bad in (("browser", lambda entry: True), ("performance", is_request)):
            expect([entry for entry in browser.get_log(kind) if is_bad(entry)], [], f"log of the {kind}")
    finally:
        browser.quit()
    return 1 if failures else 0


def is_request(entry):
    """Whether the page asked for something that does not stand in it."""
    message = json.loads(entry["message"])["message"]
    if message["method"] == "Network.webSocketCreated":
        return True
    if message["method"] != "Network.requestWillBeSent":
        return False
    page, url = message["params"]["documentURL"], message["params"]["request"]["url"]
    return page.startswith("file:") and url != page and not url.startswith("data:")


if __name__ == "__main__":
    sys.exit(main())
