#!/usr/bin/env python3
"""galleryChecker.py INFO EXPLAIN PAGE...: looks at galleries of the same files in a headless Chromium, as their user does.

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
  const image = card.querySelector(".open[data-version=original] img");
  return {name: card.querySelector("h2").textContent, text: card.textContent, opens: card.querySelector(".open") !== null,
          size: image && [image.naturalWidth, image.naturalHeight], alt: image && image.alt};
});"""

# Goes down the page until every card's picture has come.
SCROLL = """
for (const image of document.querySelectorAll(".open img")) {
  image.closest(".card").scrollIntoView();
  while (!image.src) await new Promise(requestAnimationFrame);
  await image.decode();
}"""

# The opened picture: what it is called and measures.
VIEWER = """
const picture = document.getElementById("colour-picture"), alpha = document.getElementById("alpha-picture");
await Promise.all([picture.decode(), alpha.src ? alpha.decode() : null]);
const hasAlpha = document.querySelector("[data-view=alpha]").getAttribute("aria-disabled") === "false";
return {name: document.getElementById("viewer-name").textContent, open: document.getElementById("viewer").open,
        size: [picture.naturalWidth, picture.naturalHeight], hasOriginal: picture.alt.includes("mended") === false,
        alphaSize: hasAlpha ? [alpha.naturalWidth, alpha.naturalHeight] : null};"""

# What stands under each picture of the strip, and its size.
STRIP = """
return Promise.all([...document.querySelectorAll("#surfaces li")].map(async (item) => {
  const image = item.querySelector("img");
  image.scrollIntoView();
  while (!image.complete) await new Promise(requestAnimationFrame);
  return [[...item.querySelectorAll("span")].map((span) => span.textContent.replaceAll("\\u00A0", " ")),
          [image.naturalWidth, image.naturalHeight]];
}));"""


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
        return [card["name"] for card in self.cards()]

    def expect_lazy(self):
        """Few pictures are loaded at first, those that are seen among them, and the others when they are scrolled to."""
        loaded = self.wait("""
            while (!document.querySelector(".open img[src]")) await new Promise(requestAnimationFrame);
            const images = [...document.querySelectorAll(".open img")];
            const isSeen = (image) => image.closest(".card").getBoundingClientRect().top < innerHeight;
            return {all: images.length, set: images.filter((image) => image.src).length,
                    missing: images.filter((image) => isSeen(image) && !image.src).length};""")
        expect(0 < loaded["set"] < loaded["all"] / 2 and loaded["missing"] == 0, True, f"lazy pictures, {loaded}")
        self.wait(SCROLL)

    def expect_cards(self):
        cards = self.cards()
        expect(sorted(card["name"] for card in cards), sorted(self.explanations), "files of the page")
        for card in cards:
            name, info = card["name"], self.infos.get(card["name"])
            expect(card["size"] is not None, info is not None, f"{name}: has a picture")
            expect("undefined" in card["text"], False, f"{name}: has nothing undefined")
            for kind in ("causes", "surprises", "mends", "conversions"):
                for remark in self.explanations[name][kind]:
                    expect(remark["sentence"] in card["text"], True, f"{name}: tells {remark['sentence']}")
            if info is None:
                continue
            size = [info["width"], info["height"]]
            if max(size) <= 320:
                expect(card["size"], size, f"{name}: size of the thumbnail")
            mark = ", as it is" if self.is_mended(name) else ""
            expect(card["alt"], f"{name}{mark}, {size[0]} × {size[1]}", f"{name}: alternative text")

    def is_mended(self, name):
        return bool(self.explanations[name]["mends"] or self.explanations[name]["conversions"])

    def set_value(self, selector, value):
        self.run("""const field = document.querySelector(arguments[0]); field.value = arguments[1];
                            field.dispatchEvent(new Event("input", {bubbles: true}));""", selector, value)

    def expect_shown(self, expected, what):
        expect(sorted(self.shown()), sorted(expected), what)
        count = self.run("return document.getElementById('count').textContent")
        expect(int(re.match(r"\d+", count).group()), len(expected), f"{what}: number told")

    def state(self, item):
        if item["verdict"] == "refused" or item["file"] not in self.infos:
            return "failed"
        if item["verdict"] == "black":
            return "black"
        return "noted" if item["surprises"] or item["mends"] else "fine"

    def expect_state_filters(self):
        states = {name: self.state(item) for name, item in self.explanations.items()}
        wanted = {choice: [name for name, found in states.items() if found == choice]
                  for choice in ("noted", "black", "failed")}
        wanted["trouble"] = [name for name, found in states.items() if found != "fine"]
        wanted["repair"] = [name for name in self.explanations if self.is_mended(name)]
        wanted["all"] = list(states)
        for choice, names in wanted.items():
            self.run(f"document.querySelector('[name=state][value={choice}]').click()")
            self.expect_shown(names, f"filter {choice}")

    def format(self, item):
        """The page leaves out the masks themselves."""
        return re.sub(r" \(0x.*", "", item["header"]["format"]) if "header" in item else None

    def expect_format_filter(self):
        options = self.run("return [...document.getElementById('format').options].map(o => [o.value, o.text])")
        formats = {}
        for name, item in self.explanations.items():
            if "header" in item:
                formats.setdefault(self.format(item), []).append(name)
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

    def expect_orders(self):
        """Names that are none of letters alone are left out: their order is the collation's own."""
        def natural(text):
            return [(part.isdigit(), int(part) if part.isdigit() else part) for part in re.split(r"(\d+)", text)]

        def area(item):
            info = self.infos.get(item["file"], {})
            return info.get("width", 0) * info.get("height", 0)
        ranks = ["failed", "black", "noted", "fine"]
        keys = {"name": lambda item: natural(item["file"]), "size": lambda item: -area(item),
                "format": lambda item: natural((self.format(item) or "~").lower()),
                "trouble": lambda item: ranks.index(self.state(item)), "listed": lambda item: 0}
        names = [name for name in self.explanations if re.fullmatch("[a-z0-9.-]+", name)]
        for order, key in keys.items():
            self.set_value("#order", order)
            shown = [name for name in self.shown() if name in names]
            if order == "format":  # by the rank of the format: its names have spaces and brackets
                ranked = self.run("return [...document.getElementById('format').options].map(o => o.value).slice(1)")
                key = lambda item: ranked.index(self.format(item)) if self.format(item) else len(ranked)
            expect(shown == sorted(names, key=lambda name: key(self.explanations[name])), True, f"order {order}: {shown}")

    def viewer(self):
        return self.wait(VIEWER)

    def expect_every_picture(self):
        """Opens the first file by keyboard and goes on through all."""
        names = [card["name"] for card in self.cards() if card["opens"]]
        self.run("document.querySelector('.open').focus()")
        self.press(Keys.ENTER)
        for name in names:
            viewer = self.viewer()
            expect(viewer["name"], name, "opened file")
            expect(viewer["hasOriginal"], name in self.infos, f"{name}: shown as it is")
            self.press(Keys.ARROW_RIGHT)
            if name not in self.infos:
                continue
            size = [self.infos[name]["width"], self.infos[name]["height"]]
            expect(viewer["size"], size, f"{name}: size of the picture")
            if viewer["alphaSize"] is not None:
                expect(viewer["alphaSize"], size, f"{name}: size of its alpha")
                expect(self.infos[name]["matteChannels"], 1, f"{name}: has alpha")
        expect(self.viewer()["name"], names[0], "after the last comes the first")
        self.press(Keys.ARROW_LEFT)
        expect(self.viewer()["name"], names[-1], "before the first comes the last")
        self.press(Keys.ESCAPE)
        self.expect_closed(names[-1])

    def expect_closed(self, name, version=None):
        self.wait("await new Promise(requestAnimationFrame)")
        expect(self.run("return document.getElementById('viewer').open"), False, "Escape closes")
        focus = self.run("""const focus = document.activeElement;
            return [focus.closest('.card')?.querySelector('h2').textContent, focus.dataset.version];""")
        expect(focus, [name, version or focus[1]], "focus after Escape")

    def card(self, name, inside):
        return self.run("""return [...document.querySelectorAll(".card")].find((card) =>
            card.querySelector("h2").textContent === arguments[0]).querySelector(arguments[1]);""", name, inside)

    def open_card(self, name, version="original"):
        self.run("arguments[0].focus()", self.card(name, f".open[data-version={version}]"))
        self.press(Keys.ENTER)
        self.viewer()

    def choose(self, view):
        self.run(f"document.querySelector('button[data-view={view}]').click()")

    def screenshot(self, selector="#picture"):
        """The picture as it comes out on the screen, as a function from its texels to colours."""
        image = self.browser.find_element(By.CSS_SELECTOR, selector).screenshot_as_base64
        at = """
            const bytes = Uint8Array.from(atob(arguments[0]), (letter) => letter.charCodeAt(0));
            const image = await createImageBitmap(new Blob([bytes]));
            const canvas = new OffscreenCanvas(image.width, image.height), context = canvas.getContext("2d", {willReadFrequently: true});
            context.drawImage(image, 0, 0);
            return arguments[1].map(([x, y]) =>
              [...context.getImageData(x * image.width, y * image.height, 1, 1).data.slice(0, 3)]);"""
        return lambda places: self.wait(at, image, places)

    def expect_channels(self, name, texels, version="original"):
        """texels: places from 0 to 1 in the picture, and the red, green, blue and alpha that are there."""
        self.open_card(name, version)
        places = [place for place, _ in texels]
        is_opaque = all(values[3] == 255 for _, values in texels)
        for index, view in enumerate(("red", "green", "blue") if is_opaque else ("red", "green", "blue", "alpha")):
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
        self.expect_closed(name, version)

    def expect_versions(self, name):
        """The other version of an opened file, and what it is closed to."""
        self.open_card(name, "mended")
        self.run("document.querySelector('#versions [data-version=original]').click()")
        expect(self.viewer()["size"], [64, 64], f"{name}: as it is")
        self.press(Keys.ESCAPE)
        self.expect_closed(name, "original")

    def expect_copied(self, name):
        """The command is copied, or selected where the browser gives no leave."""
        button = self.card(name, ".command button")
        button.click()
        self.wait("while (arguments[0].textContent === 'Copy') await new Promise(requestAnimationFrame)", button)
        copied = self.run("return document.activeElement === arguments[0]", button)
        expect(copied, True, f"{name}: focus after copying")
        if button.text == "Selected":
            expect(self.run("return getSelection().toString()"), self.card(name, "code").text, f"{name}: command")
        else:
            expect(button.text, "Copied", f"{name}: button")

    def expect_strip(self, name, told, colours):
        self.open_card(name)
        expect(self.wait(STRIP), told, f"{name}: strip")
        for place, colour in enumerate(colours):
            seen = self.screenshot(f"#surfaces li:nth-child({place + 1}) img")([(0.25, 0.25)])
            expect(seen, [colour], f"{name}: picture {place} of the strip")
        self.press(Keys.ESCAPE)
        self.open_card("dxt5.dds")
        expect(self.run("return document.getElementById('strip').checkVisibility()"), False, "strip of one picture")
        self.press(Keys.ESCAPE)

    def expect_aligned(self):
        rows = self.run("""
            const rows = {};
            for (const card of document.querySelector(".block").children) {
              const tops = rows[card.getBoundingClientRect().top] ??= {};
              for (const part of card.querySelectorAll(":scope > :not([hidden], :empty)"))
                (tops[part.className || part.tagName] ??= new Set()).add(part.getBoundingClientRect().top);
            }
            return Object.values(rows).map((tops) => Math.max(...Object.values(tops).map((heights) => heights.size)));""")
        expect(len(rows) > 1 and set(rows) == {1}, True, f"cards of one row have their texts at one height, {rows}")

    def expect_narrow(self, name):
        """Nothing is wider than a small telephone."""
        screen = {"width": 360, "height": 740, "deviceScaleFactor": 1, "mobile": True}
        self.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", screen)
        self.open_card(name)
        for place in ("document.documentElement", "document.getElementById('viewer')"):
            expect(self.run(f"return {place}.scrollWidth <= 360"), True, f"{place} is as wide as the screen")
        self.press(Keys.ESCAPE)
        self.browser.execute_cdp_cmd("Emulation.clearDeviceMetricsOverride", {})


def expect_page(browser, page, infos, explanations):
    browser.get(pathlib.Path(page).resolve().as_uri())
    gallery = Gallery(browser, infos, explanations)
    gallery.expect_lazy()
    gallery.expect_cards()
    gallery.expect_aligned()
    gallery.expect_state_filters()
    gallery.expect_format_filter()
    gallery.expect_word_filter()
    gallery.expect_orders()
    gallery.expect_every_picture()
    # Two by two texels, as the script that calls this made them.
    hidden = [((0.25, 0.25), (200, 100, 50, 0)), ((0.75, 0.25), (10, 20, 30, 255)),
              ((0.25, 0.75), (0, 255, 128, 255)), ((0.75, 0.75), (255, 0, 90, 77))]
    gallery.expect_channels("hidden.dds", hidden)
    gallery.expect_channels("mendable.dds", [((0.25, 0.25), (255, 0, 0, 255)), ((0.75, 0.25), (0, 255, 0, 255)),
                                             ((0.25, 0.75), (0, 0, 255, 255)), ((0.75, 0.75), (255, 255, 0, 255))], "mended")
    gallery.expect_versions("mendable.dds")
    gallery.expect_copied("mendable.dds")
    gallery.expect_strip("mips.dds", [[["mip 0", "2 × 2"], [2, 2]], [["mip 1", "1 × 1"], [1, 1]]],
                         [[1, 2, 3], [250, 251, 252]])
    gallery.expect_narrow("mips.dds")
    for kind, is_bad in (("browser", lambda entry: True), ("performance", is_trouble)):
        expect([entry for entry in browser.get_log(kind) if is_bad(entry)], [], f"{page}: log of the {kind}")


def main():
    info, explain, *pages = sys.argv[1:]
    read = lambda path: [json.loads(line) for line in pathlib.Path(path).read_text().splitlines()]
    browser = start_browser()
    try:
        for page in pages:
            expect_page(browser, page, read(info), read(explain))
    finally:
        browser.quit()
    return 1 if failures else 0


def is_trouble(entry):
    """Whether the page asked for what is none of its pictures, or in vain."""
    message = json.loads(entry["message"])["message"]
    if message["method"] in ("Network.webSocketCreated", "Network.loadingFailed"):
        return True
    if message["method"] != "Network.requestWillBeSent":
        return False
    page, url = message["params"]["documentURL"], message["params"]["request"]["url"]
    pictures = page.removesuffix(".html") + "-files/"
    return page.startswith("file:") and url != page and not url.startswith(("data:", pictures))


if __name__ == "__main__":
    sys.exit(main())
