"""The gallery in a browser: with the mouse and the keyboard, on a narrow screen, in dark mode, without JavaScript."""

import json
import unittest

from web_driver import Browser
from written_gallery import temporary_folder, write_gallery, write_photo, zeva

TAB, RIGHT, LEFT = "\ue004", "\ue014", "\ue012"
# Loads the lazy images and lists the broken ones.
BROKEN_IMAGES = """
const done = arguments[arguments.length - 1];
const images = [...document.images];
for (const image of images) image.loading = "eager";
Promise.all(images.map((image) => image.decode().then(() => null, () => image.src)))
  .then((broken) => done([images.length, broken.filter(Boolean)]));
"""
SHOWN_CARDS = """
return [...document.querySelectorAll(".card")].filter((card) => card.checkVisibility())
  .map((card) => card.querySelector("a").getAttribute("href"));
"""
# The minimum contrast of text with its background, by the usual formula of relative luminance.
LEAST_CONTRAST = """
function channels(color) { return color.match(/[\\d.]+/g).map(Number); }
function light(color) {
  const linear = (c) => c <= 0.04045 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4;
  const [r, g, b] = channels(color).map((c) => linear(c / 255));
  return 0.2126 * r + 0.7152 * g + 0.0722 * b;
}
function ground(element) {
  for (; element; element = element.parentElement) {
    const color = getComputedStyle(element).backgroundColor;
    if (channels(color)[3] !== 0) return color;
  }
}
const selector = "h1, h2, h3, p, a, td, th, figcaption, code, summary, label, output, nav span";
const texts = [...document.querySelectorAll(selector)];
return Math.min(...texts.filter((text) => text.checkVisibility()).map((text) => {
  const [a, b] = [light(getComputedStyle(text).color), light(ground(text))].sort((x, y) => y - x);
  return (a + 0.05) / (b + 0.05);
}));
"""


def setUpModule():
    global gallery, rows, browser
    folder = temporary_folder()
    gallery = write_gallery(folder, [write_photo(folder, "photo.png", 64)])
    rows = json.loads(zeva("list", "--json").stdout)
    browser = Browser()
    unittest.addModuleCleanup(browser.close)


def page_per_category():
    return {row["category"]: f"{row['filter']}.html" for row in rows}.values()


class BrowserTest(unittest.TestCase):
    def setUp(self):
        browser.emulate("clearDeviceMetricsOverride")
        browser.prefer("light")

    def open(self, page):
        browser.open(gallery / page)

    def cards(self):
        return browser.run(SHOWN_CARDS)

    def cut(self):
        """The drawn position of the cut between the pictures, in percent from the left."""
        style = browser.run("return getComputedStyle(document.querySelector('.after')).clipPath")
        return float(style.removeprefix("inset(0px 0px 0px ").removesuffix("%)"))

    def test_pages_load_without_console_messages_and_broken_images(self):
        for page in ("index.html", *page_per_category()):
            self.open(page)
            count, broken = browser.run_async(BROKEN_IMAGES)
            self.assertGreater(count, 0, page)
            self.assertEqual(broken, [], page)
            self.assertEqual(browser.console(), [], page)

    def test_search_narrows_the_cards(self):
        self.open("index.html")
        self.assertEqual(len(self.cards()), len(rows))
        browser.type("#search", "gauss")
        self.assertEqual(self.cards(), ["GaussianBlur.html", "GaussianGradient.html"])
        browser.type("#search", "ian gradient")
        self.assertEqual(self.cards(), ["GaussianGradient.html"])
        self.assertEqual(browser.run("return document.getElementById('count').textContent"), "1 filter")
        visible = "[...document.querySelectorAll('h2')].filter((heading) => heading.checkVisibility())"
        self.assertEqual(browser.run(f"return {visible}.length"), 1)
        browser.type("#search", "xyz")
        self.assertEqual(self.cards(), [])

    def test_choosing_a_category_hides_the_others(self):
        self.open("index.html")
        browser.type("#category", "Blur")
        self.assertEqual(self.cards(), ["BoxBlur.html", "DiscBlur.html", "GaussianBlur.html"])
        browser.type("#search", "disc")
        self.assertEqual(self.cards(), ["DiscBlur.html"])

    def test_the_keyboard_focuses_and_moves_the_slider(self):
        self.open("GaussianBlur.html")
        self.assertEqual(self.cut(), 50)
        for _ in range(10):
            browser.press(TAB)
            if browser.run("return document.activeElement.type") == "range":
                break
        self.assertEqual(browser.run("return document.activeElement.labels[0].textContent.trim()"), "Before and after")
        self.assertNotEqual(browser.run("return getComputedStyle(document.activeElement).outlineStyle"), "none")
        browser.press(RIGHT)
        self.assertEqual(self.cut(), 51)
        browser.press(LEFT)
        browser.press(LEFT)
        self.assertEqual(self.cut(), 49)

    def test_the_mouse_moves_the_cut(self):
        self.open("GaussianBlur.html")
        box = browser.box(".pair")
        middle = box["y"] + box["height"] / 2
        browser.drag([(box["x"] + box["width"] * part, middle) for part in (0.5, 0.4, 0.25)])
        self.assertAlmostEqual(self.cut(), 25, delta=2)

    def test_before_and_after_overlap(self):
        self.open("GaussianBlur.html")
        self.assertEqual(browser.box(".before img"), browser.box(".after img"))

    def test_a_narrow_screen_needs_no_horizontal_scrolling(self):
        for page in ("index.html", *page_per_category()):
            self.open(page)
            browser.width(340)
            self.assertLessEqual(browser.run("return document.documentElement.scrollWidth"), 340, page)
            browser.emulate("clearDeviceMetricsOverride")

    def test_text_has_contrast_in_light_and_dark_mode(self):
        grounds = []
        for scheme in ("light", "dark"):
            for page in ("index.html", "CopyMachineTransition.html"):
                self.open(page)
                browser.prefer(scheme)
                self.assertGreaterEqual(browser.run(LEAST_CONTRAST), 4.5, (scheme, page))
            grounds.append(browser.run("return getComputedStyle(document.body).backgroundColor"))
        self.assertNotEqual(*grounds)


class WithoutScriptsTest(unittest.TestCase):
    def test_shows_everything_and_hides_the_controls(self):
        plain = Browser(javascript=False)
        self.addCleanup(plain.close)
        plain.open(gallery / "index.html")
        self.assertEqual(len(plain.run(SHOWN_CARDS)), len(rows))
        self.assertFalse(plain.is_displayed("#search"))
        plain.open(gallery / "GaussianBlur.html")
        self.assertEqual(plain.run("return document.querySelectorAll('input').length"), 0)
        before, after = plain.box(".before img"), plain.box(".after img")
        self.assertGreaterEqual(after["x"], before["x"] + before["width"])
        self.assertEqual(after["y"], before["y"])


if __name__ == "__main__":
    unittest.main()
