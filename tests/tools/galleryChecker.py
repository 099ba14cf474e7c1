#!/usr/bin/env python3
"""galleryChecker.py EXPLAIN FOLDER: looks at a gallery in a headless Chromium, as its user does.

EXPLAIN holds what `kpximage explain --json` prints of the same files. Prints what is wrong and ends with 1 where
anything is.
"""

import json
import pathlib
import sys
import time

sys.path.append("/usr/lib/python3/dist-packages")  # of Debian's packages, whichever interpreter runs this
from selenium import webdriver
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.keys import Keys

ARGUMENTS = ["--headless=new", "--disable-gpu", "--disable-quic", "--no-first-run", "--disable-background-networking",
             "--disable-component-update", "--disable-sync",
             "--no-sandbox"]  # which root has none of, nor a container without user namespaces
GRADES = ["right", "noted", "suspect", "wrong", "black", "unreadable"]

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


class Gallery:
    def __init__(self, files, page):
        options = webdriver.ChromeOptions()
        for argument in ARGUMENTS:
            options.add_argument(argument)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        self.browser = webdriver.Chrome(options=options)
        self.run = self.browser.execute_script
        self.files = {item["file"]: item for item in files}
        self.url = page.as_uri()

    def open(self, width, height, scheme, address=""):
        self.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": width, "height": height, "deviceScaleFactor": 1, "mobile": False})
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {
            "features": [{"name": "prefers-color-scheme", "value": scheme}]})
        self.browser.get("about:blank")
        self.browser.get(self.url + address)

    def press(self, *keys):
        for key in keys:
            ActionChains(self.browser).send_keys(key).perform()

    def shown(self):
        return self.run("return [...document.querySelectorAll('.card')].map(card => card.title)")

    def named(self, *grades):
        return sorted(name for name, item in self.files.items() if item["grade"] in grades)

    def detail(self, part):
        return self.run(f"return document.getElementById('{part}').textContent")

    def expect_cards(self):
        expect(sorted(self.shown()), sorted(self.files), "files of the page")
        for title, grade, text in self.run("""return [...document.querySelectorAll('.card')].map(card =>
                [card.title, card.querySelector('.grade').textContent, card.textContent])"""):
            expect(grade, self.files[title]["grade"], f"{title}: grade")
            expect("undefined" in text, False, f"{title}: has nothing undefined")
        heights = self.run("""return [...document.querySelectorAll('.card')].filter(
                card => card.getBoundingClientRect().bottom <= innerHeight).map(card => card.offsetHeight)""")
        expect(len(set(heights)), 1, "heights of cards")
        expect(len(heights) >= 24, True, f"cards on the first screen, {len(heights)}")
        broken = self.run("""document.querySelectorAll('.card img').forEach(image => image.loading = 'eager');
                const images = [...document.querySelectorAll('.card img')];
                return images.length""")
        time.sleep(1)
        loaded = self.run("return [...document.querySelectorAll('.card img')].filter(i => i.naturalWidth > 0).length")
        expect(loaded, broken, "thumbnails that are shown")

    def expect_filters(self):
        counts = dict(self.run("""return [...document.querySelectorAll('.choice')].map(choice =>
                [choice.querySelector('input').value, Number(choice.querySelector('.number').textContent)])"""))
        expect(counts.pop(""), len(self.files), "number of all files")
        expect(counts, {grade: len(self.named(grade)) for grade in GRADES if self.named(grade)}, "numbers by grade")
        for grade in counts:
            self.run(f"document.querySelector('[name=grade][value={grade}]').click()")
            expect(sorted(self.shown()), self.named(grade), f"filter {grade}")
            expect(self.run("return location.hash"), f"#{grade}", f"address of {grade}")
        self.set_value("#words", "nothing is called so")
        expect(self.shown(), [], "words that nothing has")
        self.run("document.getElementById('reset').click()")
        expect(sorted(self.shown()), sorted(self.files), "after the reset")
        self.set_value("#words", "DXT1 odd")
        expect(self.shown(), [name for name in self.files if "dxt1-odd" in name], "words")
        self.set_value("#words", "")
        self.set_value("#order", "grade")
        ranks = [-GRADES.index(self.files[name]["grade"]) for name in self.shown()]
        expect(ranks, sorted(ranks), "order by grade")
        self.set_value("#order", "name")

    def set_value(self, selector, value):
        self.run("""const field = document.querySelector(arguments[0]); field.value = arguments[1];
                    field.dispatchEvent(new Event("input", {bubbles: true}));""", selector, value)

    def expect_details(self):
        """Every file opens by a click or Enter, moves with the arrow keys, and closes on Escape."""
        titles = self.shown()
        self.run("document.querySelector('.card').focus()")
        self.press(Keys.ENTER)
        for number, title in enumerate(titles):
            item = self.files[title]
            expect(self.detail("details-name"), title, "name in the details")
            expect(self.detail("details-grade"), item["grade"], f"{title}: grade in the details")
            shown = self.detail("findings")
            for finding in item["findings"]:
                expect(finding["sentence"] in shown, True, f"{title}: shows {finding['sentence']}")
            hasHelp = bool(item["repairs"] or item["recodings"])
            expect(not self.run("return document.getElementById('help').hidden"), hasHelp, f"{title}: help")
            hasPicture = self.run("return !document.getElementById('picture').hidden")
            isShown = item["grade"] in GRADES[:4] or hasHelp
            if item["grade"] != "unreadable" and item.get("picture", {}).get("wholeRows", 1) != 0:
                expect(hasPicture, isShown, f"{title}: has a picture")
            if number + 1 < len(titles):
                self.press(Keys.ARROW_RIGHT)
        self.press(Keys.ESCAPE)
        expect(self.run("return document.getElementById('details').hidden"), True, "closed by Escape")
        expect(self.run("return document.activeElement.title"), titles[-1], "focus after closing")

    def expect_channels(self):
        self.run("details.open(files.findIndex(file => file.name === 'hidden.dds'))")
        sources = {}
        for channel in ("all", "colour", "red", "green", "blue", "alpha"):
            self.run(f"document.querySelector('[data-channel={channel}]').click()")
            sources[channel], filter_, pressed = self.run("""const image = document.getElementById('picture');
                return [image.src, getComputedStyle(image).filter,
                        document.querySelector('#channels [aria-pressed=true]').dataset.channel]""")
            expect(pressed, channel, "channel that is shown")
            expect(f"only-{channel}" in filter_, channel in ("red", "green", "blue"), f"filter of {channel}")
        expect(len({sources["all"], sources["colour"], sources["alpha"]}), 3, "pictures of all, colour and alpha")
        expect(sources["red"], sources["colour"], "picture of red")
        self.run("details.close()")

    def expect_narrow(self):
        for scheme in ("light", "dark"):
            self.open(400, 900, scheme, "#black")
            expect(sorted(self.shown()), self.named("black"), "files of a linked grade")
            expect(self.run("return document.documentElement.scrollWidth <= innerWidth"), True, "width of a narrow page")
            self.run("document.querySelector('.card').click()")
            box = self.run("const b = document.getElementById('details').getBoundingClientRect(); return [b.left, b.width]")
            expect(box, [0, self.run("return document.documentElement.clientWidth")], "details on a narrow screen")

    def look(self):
        self.open(1400, 1000, "light")
        self.expect_cards()
        self.expect_filters()
        self.expect_details()
        self.expect_channels()
        self.expect_narrow()
        errors = [entry["message"] for entry in self.browser.get_log("browser") if entry["level"] == "SEVERE"]
        expect(errors, [], "messages of the browser")
        self.browser.quit()


def main():
    files = [json.loads(line) for line in open(sys.argv[1])]
    Gallery(files, pathlib.Path(sys.argv[2], "index.html").resolve()).look()
    sys.exit(1 if failures else 0)


main()
