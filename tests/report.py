#!/usr/bin/env python3
"""Looks at pages of `ramgraft-inspect report` in a real browser, over the demonstration's files.

Usage: report.py FOLDER_OF_THE_PROGRAMS

Status 77, with the reason, where Debian's chromium and chromium-driver are missing.
"""

import json
import re
import subprocess
import sys
import tempfile
from pathlib import Path

from browser import is_installed, open_browser

ROOT = Path(__file__).resolve().parent.parent
HOSTILE = "<img src=x onerror=alert(1)>"
EBR_BYTES, PAGE_WORDS = 2048, 128

# The texts that are shown and their contrast, at most 4.5, as WCAG 2 defines it.
CONTRASTS = """
const luminance = (color) => {
  const parts = color.match(/[\\d.]+/g).slice(0, 3).map((part) => part / 255);
  const [r, g, b] = parts.map((c) => (c <= 0.03928 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4));
  return 0.2126 * r + 0.7152 * g + 0.0722 * b;
};
const paper = (element) => {
  const color = getComputedStyle(element).backgroundColor;
  return color !== 'rgba(0, 0, 0, 0)' || !element.parentElement ? color
    : paper(element.parentElement);
};
return [...document.querySelectorAll('body *')].filter((element) => element.getClientRects().length
    && !element.disabled
    && [...element.childNodes].some((node) => node.nodeType === 3 && node.data.trim())).map((e) => {
  const style = getComputedStyle(e), ink = e instanceof SVGElement ? style.fill : style.color;
  const pair = [luminance(ink), luminance(paper(e))].sort((a, b) => a - b);
  return [(pair[1] + 0.05) / (pair[0] + 0.05), e.tagName + ' ' + e.textContent.slice(0, 30)];
}).filter(([contrast]) => !(contrast >= 4.5));
"""
UNKNOWN_STYLES = """
return document.querySelector('style').textContent.match(/[\\w-]+: [^;{}]+(?=;)/g).filter((each) =>
  !each.startsWith('--') && !CSS.supports(...each.replace(' !important', '').split(/: (.*)/)));
"""


def run(*command, folder):
    return subprocess.run(command, cwd=folder, check=True, stdout=subprocess.PIPE).stdout


def make_files(programs, folder):
    """The demonstration's design, and a copy of the bitstream that differs in three places."""
    for script in ("make_example.py", "make_firmware.py"):
        run(sys.executable, "-B", ROOT / "examples" / script, ".", folder=folder)
    load = [programs / "ramgraft-load", "--quiet", "-o"]
    run(*load, "out.bit", "design.toml", "in.bit", "firmware.elf", folder=folder)
    run(*load, "new.bit", "design.toml", "out.bit", "--set", "rom+0x104=DEADBEEF", "--set",
        "rom+0x108=00", "--set", "ram+0x7F=55", folder=folder)
    changed = bytearray((folder / "new.bit").read_bytes())
    changed[100] ^= 0x80
    (folder / "new.bit").write_bytes(changed)
    (folder / HOSTILE).write_bytes(changed)


def make_report(programs, folder, *arguments):
    """Writes page.html, whose size has a limit; the same again must give the same."""
    report = [programs / "ramgraft-inspect", "report", *arguments]
    page = run(*report, folder=folder)
    run(*report, "-o", "page.html", folder=folder)
    assert page == (folder / "page.html").read_bytes(), "two pages of the same files differ"
    contents = sum(len(text) * 3 // 4 for text in re.findall(rb'"(?:old|new)":"([^"]*)"', page))
    assert len(page) <= 65536 + 3 * contents, len(page)
    return folder / "page.html"


class Page:
    """A page of the report in the browser."""

    def __init__(self, browser, path):
        self.browser = browser
        browser.log("performance")
        browser.open(path)
        self.path = path

    def text(self, selector):
        return self.browser.run("return document.querySelector(arguments[0]).textContent", selector)

    def texts(self, selector):
        """Of the elements that are shown."""
        return self.browser.run("return [...document.querySelectorAll(arguments[0])]"
                                ".filter((each) => each.getClientRects().length)"
                                ".map((each) => each.textContent)", selector)

    def type(self, selector, keys):
        self.browser.run("const at = document.querySelector(arguments[0]); at.value = '';"
                         "at.focus()", selector)
        self.browser.press(keys)

    def place(self):
        """What is shown, and the row with the target."""
        target = self.browser.run("const row = document.querySelector('.target')?.closest('tr');"
                                  "return row && row.firstChild.textContent")
        return self.text("#heading"), target

    def check_quiet(self):
        """Nothing asked for anything, and nothing complained."""
        events = [json.loads(each["message"]) for each in self.browser.log("performance")]
        urls = [each["message"]["params"]["request"]["url"] for each in events
                if each["message"]["method"] == "Network.requestWillBeSent"]
        assert urls == [self.path.as_uri()], urls
        assert self.browser.log("browser") == []


def check_list(page):
    """The table of the EBRs and the strip."""
    assert page.text("#count") == "208 of 208 EBRs"
    assert len(page.texts("#ebrs tbody tr")) == len(page.texts(".ebr")) == 208
    page.browser.click("#ebrs th:nth-child(7) .link")
    used = [int(text) for text in page.texts("#ebrs td:nth-child(7)")]
    page.browser.click("#ebrs th:nth-child(7) .link")
    assert used == sorted(used) and used[0] < used[-1]
    assert [int(text) for text in page.texts("#ebrs td:nth-child(7)")] == used[::-1]
    page.type("#filter", "ROM")
    assert page.text("#count") == "16 of 208 EBRs" and len(page.texts("#ebrs tbody tr")) == 16


def check_contents(page, words):
    """A click on the strip, a jump, the pages; the words are those of the ROM."""
    page.browser.click(".ebr:nth-last-child(20)")  # of 208; the ROM has those from 177 to 192
    assert page.text("#pointed").startswith("EBR 010111101 · rom part 4 · bit ")
    assert page.place() == ("rom", "0x00006000")
    page.type("#address", "0x1_0E\ue007")
    assert page.place() == ("rom", "0x00000100")
    page.browser.click("#next-page")
    shown = page.texts("#dump td:nth-child(2)")
    assert " ".join(shown).split() == words[PAGE_WORDS:2 * PAGE_WORDS], shown
    page.type("#address", "0x20007FFF\ue007")
    assert page.place() == ("ram", "0x20007FF0")
    page.type("#address", "0x30000000\ue007")
    assert page.text("#place") == "Nothing there."


def check_differences(page):
    assert page.text("#outside").endswith("1 bit differs, the first at bit 800 (byte 100.0).")
    ranges = page.texts("#ranges li")
    assert ranges == ["0x00000104..0x0000010B", "0x2000007C..0x2000007F"], ranges
    page.type("#picture", "n")
    assert page.place() == ("rom", "0x00000100")
    assert page.browser.run("return document.querySelectorAll('mark').length") == 8
    page.browser.click("#next-difference")
    assert page.place() == ("ram", "0x20000070")
    page.type("#heading", "n")
    assert page.text("#place") == "Page 1 of 64, difference 1 of 2"


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
        page = Page(browser, make_report(programs, folder, "--map", "design.toml", "out.bit"))
        check_list(page)
        dump = [programs / "ramgraft-inspect", "dump", "--words", "design.toml", "out.bit", "rom"]
        check_contents(page, run(*dump, folder=folder).decode().split())
        page.check_quiet()
        for scheme in ("light", "dark"):
            browser.emulate(scheme=scheme)
            page = Page(browser, make_report(programs, folder, "--map", "design.toml", "out.bit",
                                             HOSTILE))
            assert page.text("h1") == "out.bit → " + HOSTILE
            check_differences(page)
            page.check_quiet()
            assert browser.run(CONTRASTS) == [], browser.run(CONTRASTS)
        assert browser.run(UNKNOWN_STYLES) == [], browser.run(UNKNOWN_STYLES)
        page = Page(browser, make_report(programs, folder, "--id-bits", "9", "in.bit", "out.bit"))
        page.browser.click(".ebr")
        assert page.text("#heading") == "EBR 000000001"
        page.check_quiet()


if __name__ == "__main__":
    main()
