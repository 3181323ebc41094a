#!/usr/bin/env python3
"""reference_screens_test.py PAGES SCREENS: the reference in a browser, on a desktop and on
a phone.

Each page of PAGES is opened at both widths: nothing but code goes past its edge, and all
pictures are there. A search finds a function and leads to its page. SCREENS gets pictures
of what some pages look like.
"""

import pathlib
import shutil
import sys
import tempfile

import browser

SCREENS = {"desktop": (1280, 900), "phone": (375, 812)}
SHOWN = ("index", "QuibResize", "QUIBWarpPerspective", "family-size", "types")
SEARCHES = {"median": "QuibMedianFilter", "perspective transform": "QUIBPerspectiveTransform"}

# What is wider than its place: the page, or what scrolls inside it and is no code.
TOO_WIDE = """[document.scrollingElement, ...document.body.querySelectorAll(":not(pre)")]
    .filter((each) => each === document.scrollingElement
        ? each.scrollWidth > WIDTH
        : each.scrollWidth > each.clientWidth + 1
            && ["auto", "scroll"].includes(getComputedStyle(each).overflowX))
    .map((each) => `${each.tagName} ${each.className}: ${each.scrollWidth} pixels`)"""

# Also pictures farther down, which are otherwise loaded when they are scrolled to.
MISSING = """Promise.all([...document.images].map(async (each) => {
    each.loading = "eager";
    await each.decode().catch(() => {});
    return each.naturalWidth > 0 ? "" : each.getAttribute("src");
})).then((names) => names.filter(Boolean))"""

COUNT = "document.images.length"
# The name of a function stands on one line.
LINES = """(() => {
    const range = document.createRange();
    range.selectNodeContents(document.querySelector("h1"));
    return new Set([...range.getClientRects()].map((each) => each.top)).size;
})()"""


def problems_of_page(tab, path, screen, width):
    tab.open(path)
    for each in tab.evaluate(TOO_WIDE.replace("WIDTH", str(width))):
        yield f"{path.name} on a {screen} {width} pixels wide: {each}"
    for each in tab.evaluate(MISSING):
        yield f"{path.name} on a {screen}: {each} is not shown"
    if path.stem.lower().startswith("quib") and tab.evaluate(LINES) != 1:
        yield f"{path.name} on a {screen}: its heading breaks"


def problems_of_search(tab, pages, words, wanted):
    tab.open(pages / "index.html")
    tab.evaluate('document.querySelector("#search").focus()')
    tab.type(words)
    first = tab.evaluate('document.querySelector("#found:not([hidden]) a")?.getAttribute("href")')
    if first != f"{wanted}.html":
        yield f"a search for '{words}' shows {first} first, and not {wanted}.html"
        return
    tab.press_enter()
    shown = tab.evaluate('document.querySelector("h1").textContent')
    if shown != wanted:
        yield f"Enter after a search for '{words}' leads to {shown}"


def problems_of_screen(tab, pages, screens, screen):
    width, height = SCREENS[screen]
    tab.resize(width, height, screen == "phone")
    pictures = 0
    for path in sorted(pages.glob("*.html")):
        yield from problems_of_page(tab, path, screen, width)
        pictures += tab.evaluate(COUNT)
        if path.stem in SHOWN:
            tab.shoot(screens / f"{path.stem}-{screen}.png")
    if pictures < 79:
        yield f"there are {pictures} pictures on all pages"
    for words, wanted in SEARCHES.items():
        yield from problems_of_search(tab, pages, words, wanted)
    tab.open(pages / "index.html")
    tab.evaluate('document.querySelector("#search").focus()')
    tab.type("alpha")
    tab.shoot(screens / f"search-{screen}.png")


def main():
    pages, screens = map(pathlib.Path, sys.argv[1:3])
    program = browser.find()
    if not program:
        print("skipped: there is no Chromium to look at the pages with")
        sys.exit(77)
    if not (pages / "index.html").is_file():
        print("skipped: there are no pages; the test reference_pages makes them")
        sys.exit(77)
    shutil.rmtree(screens, ignore_errors=True)
    screens.mkdir(parents=True)
    with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as profile, \
            browser.Browser(program, profile) as tab:
        problems = [each for screen in SCREENS
                    for each in problems_of_screen(tab, pages, screens, screen)]
    print("\n".join(problems))
    if problems:
        sys.exit(f"{len(problems)} problems with what the pages look like")


if __name__ == "__main__":
    main()
