#!/usr/bin/env python3
"""Looks at pages of `ramgraft-inspect report` in a real browser, over the demonstration's files.

Usage: report.py FOLDER_OF_THE_PROGRAMS

Status 77, with the reason, where Debian's chromium and chromium-driver are missing.
"""

import json
import subprocess
import sys
import tempfile
from pathlib import Path

from browser import is_installed, open_browser

ROOT = Path(__file__).resolve().parent.parent
HOSTILE = "<img src=x onerror=alert(1)>"
PAGE_WORDS = 128
ENTER, RIGHT = "\ue007", "\ue014"

# The texts that are shown with a contrast below 4.5, which is defined in WCAG 2.
PALE_TEXTS = """
const luminance = (color) => {
  const parts = color.match(/[\\d.]+/g).slice(0, 3).map((part) => part / 255);
  const [r, g, b] = parts.map((c) => (c <= 0.03928 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4));
  return 0.2126 * r + 0.7152 * g + 0.0722 * b + 0.05;
};
const paper = (element) => {
  const color = getComputedStyle(element).backgroundColor;
  return color === 'rgba(0, 0, 0, 0)' ? paper(element.parentElement) : color;
};
return [...document.querySelectorAll('body *')].filter((element) => {
  const texts = [...element.childNodes].filter(({nodeType, data}) => nodeType === 3 && data.trim());
  if (texts.length === 0 || element.disabled || element.getClientRects().length === 0) return false;
  const {color, fill} = getComputedStyle(element);
  const [a, b] = [element instanceof SVGElement ? fill : color, paper(element)].map(luminance);
  return !(Math.max(a, b) / Math.min(a, b) >= 4.5);
}).map((element) => element.outerHTML);
"""
UNKNOWN_STYLES = """
return document.querySelector('style').textContent.match(/[\\w-]+: [^;{}]+(?=;)/g).filter((each) =>
  !each.startsWith('--') && !CSS.supports(...each.replace(' !important', '').split(/: (.*)/)));
"""


def run(*command, folder):
    return subprocess.run(command, cwd=folder, check=True, stdout=subprocess.PIPE).stdout


def make_files(programs, folder):
    """The demonstration's design, and a copy of its bitstream that differs in three places."""
    for script in ("make_example.py", "make_firmware.py"):
        run(sys.executable, "-B", ROOT / "examples" / script, ".", folder=folder)
    load = [programs / "ramgraft-load", "--quiet", "-o"]
    run(*load, "out.bit", "design.toml", "in.bit", "firmware.elf", folder=folder)
    run(*load, "new.bit", "design.toml", "out.bit", "--set", "rom+0x104=DEADBEEF", "--set",
        "rom+0x108=00", "--set", "ram+0x7F=55", folder=folder)
    changed = bytearray((folder / "new.bit").read_bytes())
    changed[100] ^= 0x80
    (folder / HOSTILE).write_bytes(changed)


class Report:
    """A page in the browser."""

    def __init__(self, browser, programs, folder, *arguments):
        report = [programs / "ramgraft-inspect", "report", *arguments]
        page = run(*report, folder=folder)
        self.browser, self.path = browser, folder / "page.html"
        run(*report, "-o", self.path, folder=folder)
        assert page == self.path.read_bytes(), "two pages of the same files differ"
        browser.log("performance")
        browser.open(self.path)

    def texts(self, selector):
        """Of the elements that are shown."""
        return self.browser.run("return [...document.querySelectorAll(arguments[0])].filter("
                                "(element) => element.getClientRects().length !== 0).map("
                                "(element) => element.textContent)", selector)

    def type(self, selector, keys):
        self.browser.run("const element = document.querySelector(arguments[0]);"
                         "element.value = ''; element.focus()", selector)
        self.browser.press(keys)

    def check_place(self, heading, address):
        """What must be shown, and the row of the target."""
        row = self.browser.run("return document.querySelector('.target').closest('tr').innerText")
        assert (self.texts("#heading"), row.split()[0]) == ([heading], address)

    def check_quiet(self):
        """Nothing asked for anything, and nothing complained."""
        logged = self.browser.log("performance")
        events = [json.loads(each["message"])["message"] for each in logged]
        urls = [each["params"]["request"]["url"] for each in events
                if each["method"] == "Network.requestWillBeSent"]
        # The browser has resources of its own, such as the cross that clears a field.
        urls = [url for url in urls if not url.startswith("chrome://")]
        assert urls == [self.path.as_uri()], urls
        assert self.browser.log("browser") == []


def check_list(page):
    """The table of the EBRs and the strip."""
    assert len(page.texts("#ebrs tbody tr")) == len(page.texts(".ebr")) == 208
    page.browser.click("#ebrs th:nth-child(7) .link")
    used = [int(text) for text in page.texts("#ebrs td:nth-child(7)")]
    assert used == sorted(used) and used[0] < used[-1]
    page.browser.click("#ebrs th:nth-child(7) .link")
    assert [int(text) for text in page.texts("#ebrs td:nth-child(7)")] == used[::-1]
    page.type("#filter", "ROM")
    assert page.texts("#count") == ["16 of 208 EBRs"] and len(page.texts("#ebrs tbody tr")) == 16


def check_contents(page, words):
    """The ways to contents; the words are those of the ROM."""
    page.browser.click(".ebr:nth-last-child(20)")
    assert page.texts("#pointed")[0].startswith("EBR 010111101 · rom part 4 · bit ")
    page.check_place("rom", "0x00006000")
    page.type("#address", "0x1_0E" + ENTER)
    page.check_place("rom", "0x00000100")
    page.browser.click("#next-page")
    shown = " ".join(page.texts("#dump td:nth-child(2)")).split()
    assert shown == words[PAGE_WORDS:2 * PAGE_WORDS], shown
    page.type("#address", "0x20007FFF" + ENTER)
    page.check_place("ram", "0x20007FF0")
    page.type("#address", "0x30000000" + ENTER)
    assert page.texts("#place") == ["Nothing there."]
    page.type(".ebr[tabindex='0']", RIGHT + RIGHT + ENTER)
    page.check_place("EBR 000000011", "0x0000")


def check_differences(page):
    assert page.texts("h1") == ["out.bit → " + HOSTILE]
    assert page.texts("#outside")[0].endswith("1 bit differs, the first at bit 800 (byte 100.0).")
    ranges = page.texts("#ranges li")
    assert ranges == ["0x00000104..0x0000010B", "0x2000007C..0x2000007F"], ranges
    page.type("#heading", "n")
    page.check_place("rom", "0x00000100")
    assert len(page.texts("mark")) == 8
    page.browser.click("#next-difference")
    page.check_place("ram", "0x20000070")
    page.type("#heading", "n")
    assert page.texts("#place") == ["Page 1 of 64, difference 1 of 2"]


def main():
    if len(sys.argv) != 2:
        raise SystemExit(__doc__.splitlines()[2])
    if not is_installed():
        print("No browser: chromium and chromium-driver are not installed")
        raise SystemExit(77)
    programs = Path(sys.argv[1]).resolve()
    with tempfile.TemporaryDirectory() as name, open_browser() as browser:
        folder = Path(name)
        make_files(programs, folder)
        arguments = browser, programs, folder, "--map", "design.toml", "out.bit"
        page = Report(*arguments)
        check_list(page)
        dump = [programs / "ramgraft-inspect", "dump", "--words", "design.toml", "out.bit", "rom"]
        check_contents(page, run(*dump, folder=folder).decode().split())
        page.check_quiet()
        for scheme in ("light", "dark"):
            browser.emulate(scheme)
            page = Report(*arguments, HOSTILE)
            check_differences(page)
            page.check_quiet()
            assert browser.run(PALE_TEXTS) == [], browser.run(PALE_TEXTS)
        assert browser.run(UNKNOWN_STYLES) == [], browser.run(UNKNOWN_STYLES)


if __name__ == "__main__":
    main()
