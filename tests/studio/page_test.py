"""The studio's page in a browser: every kind of control, handles, order, undo, texts, keyboard, narrow and dark."""

import json
import os
import pathlib
import signal
import subprocess
import time
import unittest

from studio_process import PHOTO, ZEVA, Studio, picture, png, temporary_folder
from web_driver import Browser

TAB, ENTER, DELETE, ESCAPE = "\ue004", "\ue007", "\ue017", "\ue00c"
LEFT, UP, RIGHT, DOWN = "\ue012", "\ue013", "\ue014", "\ue015"
CONTROL, ALT, SHIFT, SPACE = "\ue009", "\ue00a", "\ue008", " "
SET_VALUE = """
const [selector, value, event] = arguments;
const element = document.querySelector(selector);
element.value = value;
element.dispatchEvent(new Event(event, { bubbles: true }));
"""
# Returns to the first photo without cards.
EMPTY = """
const done = arguments[0];
Promise.all([import("/history.js"), import("/stage.js")]).then(([history, stage]) => {
  for (const dialog of document.querySelectorAll("dialog[open]")) dialog.close();
  const photo = [...document.getElementById("photo").options].find((each) => each.textContent === "photo.png");
  history.change({ photo: Number(photo.value), cards: [], keepSize: true });
  for (const id of ["compare", "clipped"]) {
    const isOn = document.getElementById(id).getAttribute("aria-pressed") === "true";
    if (isOn !== (id === "compare")) document.getElementById(id).click();
  }
  stage.setCut(0.5);
  stage.fit();
  document.activeElement.blur();
  done();
});
"""
PIXEL = """
const [id, x, y] = arguments;
const canvas = document.getElementById(id);
return [...canvas.getContext("2d").getImageData(x, y, 1, 1).data];
"""


def setUpModule():
    global folder, studio, browser
    folder = temporary_folder()
    (folder / "photo.png").write_bytes(png(300, 200, lambda x, y: (40 + x // 2, 60 + y // 2, 120)))
    (folder / "second.png").write_bytes(png(80, 60, lambda x, y: (250, 200, 10)))
    (folder / "warm.cube").write_text("LUT_3D_SIZE 2\n" + "".join(
        f"{r} {g * 0.8} {b * 0.5}\n" for b in (0, 1) for g in (0, 1) for r in (0, 1)))
    studio = Studio("--folder", folder, folder / "photo.png", env=os.environ | {"XDG_DATA_HOME": str(folder / "data")})
    unittest.addModuleCleanup(studio.end)
    browser = Browser(1360, 860)
    unittest.addModuleCleanup(browser.close)


class PageTest(unittest.TestCase):
    isOpen = False

    def setUp(self):
        browser.emulate("clearDeviceMetricsOverride")
        browser.prefer("light")
        if not PageTest.isOpen:
            browser.open(studio.new_link())
            self.wait("document.documentElement.dataset.ready === 'yes'")
            PageTest.isOpen = True
        browser.run_async(EMPTY)
        self.settled()

    def tearDown(self):
        self.assertEqual(browser.console(), [])

    def wait(self, condition):
        end = time.monotonic() + 20
        while not browser.run(f"return Boolean({condition})"):
            self.assertLess(time.monotonic(), end, condition)
            time.sleep(0.02)

    def painted(self):
        return int(browser.run("return document.getElementById('stage').dataset.painted ?? 0"))

    def settled(self):
        """Waits until the result is on the screen with its exact pixels."""
        self.wait("document.getElementById('stage').dataset.shows === 'result'")

    def add(self, name):
        browser.run("document.getElementById('add').click()")
        browser.type("#search", name)
        browser.press(ENTER)
        self.settled()

    def set(self, selector, value, event="input"):
        browser.run(SET_VALUE, selector, value, event)
        self.settled()

    def keys(self, *keys):
        """Presses keys together."""
        downs = [{"type": "keyDown", "value": key} for key in keys]
        ups = [{"type": "keyUp", "value": key} for key in reversed(keys)]
        browser._send("POST", "/actions", {"actions": [{"type": "key", "id": "keys", "actions": downs + ups}]})
        self.settled()

    def titles(self):
        return browser.run("return [...document.querySelectorAll('.card h2')].map((each) => each.textContent)")

    def value(self, label):
        return browser.run("return document.querySelector(`[aria-label='${arguments[0]}']`).value", label)

    def text(self, form="recipe"):
        """A text of Copy."""
        browser.run("document.getElementById('copy').click()")
        self.wait(f"document.getElementById('copy-{form}')")
        text = browser.run(f"return document.getElementById('copy-{form}').value")
        browser.press(ESCAPE)
        return text

    def steps(self):
        return [line for line in self.text().splitlines()[1:] if not line.startswith(("--", "picture"))]

    def paste(self, text):
        browser.run("document.getElementById('paste').click()")
        browser.run("document.getElementById('paste-text').value = arguments[0]", text)
        browser.run("document.getElementById('paste-use').click()")
        self.wait("!document.getElementById('paste-dialog').open")
        self.settled()

    def saved_pixel(self, x, y):
        """The same pixel of the result as Save writes it."""
        browser.run("document.getElementById('save').click()")
        browser.run("document.getElementById('save-now').click()")
        self.wait("document.getElementById('save-done').textContent.includes('Saved')")
        name = browser.run("return document.getElementById('save-done').textContent").split()[1].rstrip(",")
        browser.press(ESCAPE)
        return [*picture.read(folder / name)[y][x], 255][:4]

    def pixel(self, x, y, canvas="after"):
        return browser.run(PIXEL, canvas, x, y)


# Moves a slider, and holds it until the change is shown, by a preview if there are any. Returns the scale of the
# preview, or false; one of its pixels; whether the result follows; its pixel.
DRAG = """
const [label, value, x, y, hasPreviews, done] = arguments;
import("/stage.js").then(async ({ shown }) => {
  const stage = document.getElementById("stage");
  const context = document.getElementById("after").getContext("2d");
  const pixel = () => [...context.getImageData(x * shown.after.scale, y * shown.after.scale, 1, 1).data];
  // A preview on a busy machine has fewer pixels, so few perhaps that they are exact.
  const isPreview = () => shown.after.pixels === null || shown.after.scale < 1;
  const pause = () => new Promise((resolve) => setTimeout(resolve, 10));
  const slider = document.querySelector(`[aria-label='${label}']`);
  const before = stage.dataset.painted;
  slider.value = value;
  do {
    slider.dispatchEvent(new Event("input", { bubbles: true }));
    await pause();
  } while (stage.dataset.painted === before || (hasPreviews && !isPreview()));
  const preview = [isPreview() && shown.after.scale, pixel()];
  while (stage.dataset.shows !== "result") await pause();
  done([...preview, !isPreview(), pixel()]);
});
"""


class PreviewTest(PageTest):
    def test_a_drag_shows_a_preview_and_exact_pixels_when_it_rests(self):
        self.add("exposure")
        scale, near, isExact, exact = browser.run_async(DRAG, "EV", "1", 100, 100, True)
        self.assertTrue(scale and isExact)
        self.assertLessEqual(max(abs(a - b) for a, b in zip(near, exact)), 4)
        self.assertEqual(exact, self.saved_pixel(100, 100))

    def test_a_preview_has_the_alpha_of_the_result(self):
        for name, label, values in (("gaussian blur", "Radius", "234"), ("constant color", "Color, alpha", (0.5, 0.7))):
            self.add(name)
            for value, (x, y) in zip(values, ((0, 0), (299, 100), (150, 199))):
                scale, near, _, exact = browser.run_async(DRAG, label, str(value), x, y, True)
                self.assertLess(near[3], 255)
                if scale == 1:  # a machine that is busy shows fewer pixels
                    self.assertEqual(near[3], exact[3])
                    self.assertLessEqual(max(abs(a - b) * near[3] / 255 for a, b in zip(near, exact)), 10)
            self.keys(CONTROL, "z")

    def test_clipped_pixels_are_marked_in_exact_pixels_only(self):
        self.add("exposure")
        self.keys("c")
        scale, near, _, exact = browser.run_async(DRAG, "EV", "9", 100, 100, False)
        self.assertEqual((scale, near[:3], exact[:3]), (False, [255, 40, 60], [255, 40, 60]))


class ControlTest(PageTest):
    def test_a_slider_and_a_number_beyond_its_range_change_the_picture(self):
        self.add("exposure")
        before = self.pixel(100, 100)
        self.set("[aria-label='EV']", "2")
        brighter = self.pixel(100, 100)
        self.assertGreater(brighter[1], before[1])
        self.set("[aria-label='EV, number']", "-12")
        self.assertEqual(self.steps(), ["CIFilterExposureAdjustQOR inputEV=-12"])
        browser.run("document.querySelector('[aria-label=\"Reset EV\"]').click()")
        self.settled()
        self.assertEqual(self.steps(), ["CIFilterExposureAdjustQOR"])

    def test_a_color_has_alpha(self):
        self.add("constant color")
        self.set("[aria-label='Color']", "#20c040")
        self.assertEqual(self.pixel(10, 10), [0x20, 0xC0, 0x40, 255])
        self.set("[aria-label='Color, alpha']", "0.5")
        self.assertEqual(self.steps(), ["CIFilterConstantColorGeneratorQOR inputColor=#20c04080"])

    def test_a_vector_is_a_grid_with_the_kernels_columns(self):
        self.add("convolution 3x3")
        columns = browser.run(
            "return getComputedStyle(document.querySelector('.grid')).gridTemplateColumns.split(' ').length")
        self.assertEqual(columns, 3)
        self.set("[aria-label='Weights, 5']", "2")
        self.assertRegex(self.steps()[0], "inputWeights=0,0,0,0,2,0,0,0,0")

    def test_a_transform_has_fields(self):
        self.add("affine transform")
        self.set("[aria-label='Rotate, degrees']", "30")
        self.set("[aria-label='Scale x']", "2")
        self.set("[aria-label='Move y']", "15")
        self.assertEqual(browser.run("return document.querySelectorAll('#handles .handle').length"), 3)
        self.assertEqual(self.steps(),
            ['CIFilterAffineTransformQOR inputTransform="scale:2,1 rotate:30 translate:0,15"'])

    def test_pictures_come_from_files_and_earlier_cards(self):
        self.add("invert")
        self.add("blend with mask")
        label = "[aria-label='Mask Image']"
        offered = browser.run(
            f"return [...document.querySelector(\"{label}\").options].map((each) => each.textContent)")
        self.assertEqual(offered,
            ["The card before", "The original photo", "After Color Invert", "photo.png", "second.png",
                "Open a picture…"])
        value = (f"return [...document.querySelector(\"{label}\").options]"
                 ".find((each) => each.textContent === arguments[0]).value")
        result = browser.run(value, "After Color Invert")
        self.set(label, result, "change")
        self.assertIn(f"-> {result}", self.steps()[0])
        self.assertIn(f"inputMaskImage={result}", self.steps()[1])
        self.set(label, browser.run(value, "second.png"), "change")
        self.assertIn(f"= {folder}/second.png", self.text())

    def test_a_color_table_is_chosen_from_a_cube_file(self):
        self.add("color cube")
        find = ("[...document.querySelectorAll(\"[aria-label='Cube Data'] option\")]"
                ".find((each) => each.textContent === 'warm.cube')")
        content = (folder / "warm.cube").read_text()
        browser.run("""
          const transfer = new DataTransfer();
          transfer.items.add(new File([arguments[0]], "warm.cube"));
          const event = new DragEvent("drop", { bubbles: true, cancelable: true, dataTransfer: transfer });
          document.body.dispatchEvent(event);
        """, content)
        self.wait(
            f"{find}")
        value = browser.run(
            f"return {find}.value")
        before = self.pixel(100, 100, "before")
        self.set("[aria-label='Cube Data']", value, "change")
        after = self.pixel(100, 100)
        self.assertLess(after[2], before[2])

    def test_a_transition_plays_and_returns(self):
        self.add("dissolve")
        self.set("[aria-label='Time, number']", "0.25")
        start = self.painted()
        browser.run("document.querySelector('[aria-label=Play]').click()")
        time.sleep(1)
        self.assertGreater(self.painted(), start + 3)
        self.wait("document.querySelector('[aria-label=Play]').textContent === '▶'")
        self.assertEqual(self.value("Time, number"), "0.25")

    def test_every_filter_gets_a_card_with_a_control_for_each_key(self):
        made = browser.run_async("""
          const done = arguments[0];
          Promise.all([import("/catalogue.js"), import("/cards.js")]).then(([catalogue, cards]) => {
            const missing = [];
            for (const filter of catalogue.filters) {
              cards.addCard(filter);
              const element = document.querySelector(".card:last-child");
              const keys = filter.keys.filter((key) => key.name !== "inputImage");
              const shown = element.querySelectorAll(".control").length;
              if (shown < keys.length) missing.push(filter.filter);
              cards.removeCard(element.dataset.name);
            }
            done([catalogue.filters.length, missing]);
          });
        """)
        listed = subprocess.run([ZEVA, "list", "--json"], stdout=subprocess.PIPE, check=True).stdout
        self.assertEqual(made, [len(json.loads(listed)), []])


class HandleTest(PageTest):
    def center(self, selector):
        box = browser.box(selector)
        return box["x"] + box["width"] / 2, box["y"] + box["height"] / 2

    def test_a_point_is_dragged_and_moved_by_keys(self):
        self.add("bump distortion")
        x, y = self.center(".handle.point")
        self.assertEqual(self.value("Center, x"), "150")
        browser.drag([(x, y), (x + 20, y - 5), (x + 60, y - 30)])
        self.settled()
        self.assertEqual((self.value("Center, x"), self.value("Center, y")), ("210", "130"))
        browser.run("document.querySelector('.handle.point').focus()")
        browser.press(LEFT)
        self.settled()
        self.assertEqual(self.value("Center, x"), "209")
        self.assertEqual(browser.accessible(".handle.point"), ("button", "Center: 209, 130"))

    def test_a_radius_is_a_ring_and_an_angle_a_dial(self):
        self.add("bump distortion linear")
        cx, cy = self.center(".handle.point")
        x, y = self.center(".handle.ring")
        self.assertAlmostEqual(x - cx, 300, delta=2)
        browser.drag([(x, y), (cx + 100, cy)])
        self.settled()
        self.assertEqual(self.value("Radius, number"), "100")
        x, y = self.center(".handle.angle")
        browser.drag([(x, y), (cx + 10, cy - 60), (cx, cy - 70)])
        self.settled()
        self.assertEqual(self.value("Angle, number"), "90")

    def test_a_rectangle_has_corners(self):
        self.add("crop")
        self.set("[aria-label='Rectangle, width']", "200")
        self.set("[aria-label='Rectangle, height']", "100")
        self.set("[aria-label='Rectangle, x']", "20")
        self.set("[aria-label='Rectangle, y']", "30")
        x, y = self.center(".handle.corner[aria-label*='upper right']")
        browser.drag([(x, y), (x - 50, y + 20)])
        self.settled()
        self.assertIn("inputRectangle=20,30,150,80", self.steps()[0])

    def test_the_split_line_follows_the_mouse_and_the_keys(self):
        x, y = self.center("#split")
        box = browser.box("#stage")
        browser.drag([(x, box["y"] + 300), (box["x"] + box["width"] / 4, box["y"] + 300)])
        self.assertEqual(browser.run("return document.getElementById('split').ariaValueNow"), "25")
        browser.press(RIGHT)
        self.assertEqual(browser.run("return document.getElementById('split').ariaValueNow"), "26")
        self.assertEqual(browser.accessible("#split"), ("slider", "Before and after"))

    def test_the_picture_is_zoomed_and_moved(self):
        zoom = "return document.getElementById('zoom').textContent"
        self.assertEqual(browser.run(zoom), "100 %")
        self.keys("+")
        self.assertEqual(browser.run(zoom), "200 %")
        left = browser.box("#after")["x"]
        browser.run("document.getElementById('stage').focus()")
        browser.press(RIGHT)
        self.settled()
        self.assertAlmostEqual(browser.box("#after")["x"], left - 40, delta=1)
        self.keys("-")
        self.keys("-")
        self.assertEqual(browser.run(zoom), "75 %")
        self.keys("f")
        self.assertEqual(browser.run(zoom), "100 %")


class ChainTest(PageTest):
    def test_cards_are_ordered_switched_off_duplicated_and_deleted_by_keys(self):
        for name in ("invert", "bloom", "gloom"):
            self.add(name)
        head = "document.querySelectorAll('.card .title')"
        browser.run(f"{head}[2].focus()")
        self.keys(ALT, UP)
        self.assertEqual(self.titles(), ["Color Invert", "Gloom", "Bloom"])
        self.keys("d")
        self.assertEqual(self.titles(), ["Color Invert", "Gloom", "Gloom", "Bloom"])
        self.keys("o")
        self.assertEqual(len(self.steps()), 3)
        browser.run(f"{head}[2].focus()")
        self.keys(DELETE)
        self.assertEqual(self.titles(), ["Color Invert", "Gloom", "Bloom"])
        browser.run(f"{head}[0].focus()")
        browser.press(DOWN)
        self.assertEqual(browser.run("return document.activeElement.ariaLabel"), "2. Gloom")

    def test_cards_are_dragged(self):
        for name in ("invert", "bloom", "gloom"):
            self.add(name)
        browser.run("""
          const cards = document.querySelectorAll(".card");
          const transfer = new DataTransfer();
          const fire = (element, name, y) => element.dispatchEvent(
            new DragEvent(name, { bubbles: true, cancelable: true, dataTransfer: transfer, clientY: y }));
          fire(cards[2].querySelector(".title"), "dragstart", 0);
          fire(cards[0], "dragover", cards[0].getBoundingClientRect().top + 2);
          fire(cards[0], "drop", cards[0].getBoundingClientRect().top + 2);
        """)
        self.assertEqual(self.titles(), ["Gloom", "Color Invert", "Bloom"])

    def test_undo_and_redo_go_through_every_step(self):
        self.add("exposure")
        for value in ("1", "2", "3"):
            self.set("[aria-label='EV, number']", value)
            time.sleep(0.9)  # else they are one change
        browser.run("document.querySelector('.card .title').focus()")
        seen = []
        for _ in range(4):
            self.keys(CONTROL, "z")
            seen.append(self.value("EV, number") if self.titles() else None)
        self.assertEqual((seen[:2], seen[3]), (["2", "1"], None))
        for _ in range(4):
            self.keys(CONTROL, SHIFT, "z")
        self.assertEqual(self.value("EV, number"), "3")

    def test_ten_thousand_steps_can_be_undone(self):
        counts = browser.run_async("""
          const done = arguments[0];
          import("/history.js").then((history) => {
            const first = history.current();
            for (let i = 0; i < 10050; i++) history.change({ ...first, keepSize: i % 2 === 0 });
            let steps = 0;
            while (history.canUndo()) { history.undo(); steps++; }
            let back = 0;
            while (history.canRedo()) { history.redo(); back++; }
            done([steps, back]);
          });
        """)
        self.assertEqual(counts, [10000, 10000])

    def test_texts_are_copied_and_pasted_back(self):
        self.add("monochrome")
        self.set("[aria-label='Intensity, number']", "0.5")
        self.add("bump distortion")
        wanted = self.text("recipe")
        self.assertIn("--recursive", self.text("folder"))
        for form in ("command", "lua", "recipe", "link"):
            copied = self.text(form)
            browser.run("document.querySelectorAll('.card [aria-label^=Delete]').forEach((each) => each.click())")
            self.assertEqual(self.titles(), [])
            self.paste(copied)
            self.assertEqual(self.text("recipe"), wanted, form)

    def test_a_link_in_the_address_opens_its_chain(self):
        self.add("invert")
        link = self.text("link")
        PageTest.isOpen = False
        browser.open(f"{studio.origin}/{link}")
        browser.run("location.reload()")
        self.wait("document.querySelector('.card h2')")
        self.assertEqual(self.titles(), ["Color Invert"])

    def test_a_wrong_text_gets_a_message(self):
        browser.run("document.getElementById('paste').click()")
        browser.run("document.getElementById('paste-text').value = 'zeva apply GaussianBlr'")
        browser.run("document.getElementById('paste-use').click()")
        self.wait("document.getElementById('paste-problem').textContent.includes('GaussianBlur')")
        self.assertEqual(browser.accessible("#paste-problem")[0], "alert")

    def test_a_setting_that_fails_puts_its_message_on_its_card(self):
        self.paste("zeva-recipe 1\nColorInvert\nBloom inputRadius=5")
        self.set("[aria-label='Radius, number']", "7")
        browser.run_async("""
          const done = arguments[0];
          import("/cards.js").then((cards) => {
            cards.setKey(cards.chosenCard().name, { name: "inputRadius" }, "wide");
            done();
          });
        """)
        self.wait("document.querySelector('.card.failed')")
        shown = browser.run("return [...document.querySelectorAll('.card .problem')].map((each) => each.textContent)")
        self.assertEqual(shown, ["", "inputRadius: 'wide' is not a number"])
        self.keys(CONTROL, "z")
        self.wait("!document.querySelector('.card.failed')")

    def test_a_killed_worker_does_not_take_the_page_down(self):
        self.add("invert")
        for worker in studio.workers():
            os.kill(worker, signal.SIGKILL)
        self.add("bloom")
        self.set("[aria-label='Intensity, number']", "0.7")
        start = self.painted()
        self.set("[aria-label='Intensity, number']", "0.8")
        self.assertGreater(self.painted(), start)

    def test_a_preset_is_kept_used_and_deleted(self):
        self.add("bloom")
        browser.run("document.getElementById('presets').click()")
        browser.type("#preset-name", "Glow")
        browser.press(ENTER)
        self.wait("document.getElementById('preset-list').textContent.includes('Glow')")
        browser.press(ESCAPE)
        browser.run("document.querySelector('.card [aria-label^=Delete]').click()")
        browser.run("document.getElementById('presets').click()")
        find = "[...document.querySelectorAll('.preset')].find((each) => each.textContent.startsWith('Glow'))"
        self.wait(find)
        browser.run(f"{find}.click()")
        self.wait("document.querySelector('.card h2')")
        self.assertEqual(self.titles(), ["Bloom"])
        browser.run("document.getElementById('presets').click()")
        self.wait(find)
        browser.run("document.querySelector('[aria-label=\"Delete Glow\"]').click()")
        self.wait(f"!{find}")

    def test_a_result_is_saved_to_the_folder(self):
        self.add("invert")
        browser.run("document.getElementById('save').click()")
        for worker in studio.workers():
            os.kill(worker, signal.SIGSTOP)
        browser.run("document.getElementById('save-now').click()")
        self.wait("document.getElementById('save-done').textContent === 'Saving: 0.0 MB are written'")
        for worker in studio.workers():
            os.kill(worker, signal.SIGCONT)
        self.wait("document.getElementById('save-done').textContent.includes('Saved')")
        self.assertEqual((folder / "photo-studio.png").read_bytes()[:4], b"\x89PNG")


class SurroundingsTest(PageTest):
    def test_everything_works_by_keyboard_alone(self):
        self.keys("a")
        for key in "bump":
            browser.press(key)
        browser.press(ENTER)
        self.settled()
        self.assertEqual(self.titles(), ["Bump Distortion"])
        self.assertEqual(browser.run("return document.activeElement.type"), "range")
        before = self.value("Radius, number")
        browser.press(RIGHT)
        self.settled()
        self.assertGreater(float(self.value("Radius, number")), float(before))
        reached = set()
        for _ in range(60):
            browser.press(TAB)
            reached.add(browser.run("return document.activeElement.id || document.activeElement.className"))
        self.assertLessEqual({"stage", "split", "add", "copy", "save", "handle point", "handle ring", "photo",
            "keep-size"}, reached)

    def test_controls_have_roles_names_and_values(self):
        self.add("bump distortion")
        self.assertEqual(browser.accessible("[aria-label='Radius']"), ("slider", "Radius"))
        self.assertEqual(
            browser.run("return document.querySelector(\"[aria-label='Radius']\").getAttribute('aria-valuetext')"),
                "300 pixels")
        self.assertEqual(browser.accessible("[aria-label='Center, x']"), ("spinbutton", "Center, x"))
        self.assertEqual(browser.accessible("#undo"), ("button", "Undo"))
        self.assertEqual(browser.accessible("#photo"), ("combobox", "Photo"))
        self.assertEqual(browser.accessible(".card .title"), ("button", "1. Bump Distortion"))
        unnamed = browser.run("""
          return [...document.querySelectorAll("button, input, select, textarea")]
            .filter((each) => each.checkVisibility())
            .filter((each) => !(each.ariaLabel || each.textContent.trim() || each.labels?.length))
            .map((each) => each.outerHTML);
        """)
        self.assertEqual(unnamed, [])

    def test_a_narrow_screen_needs_no_horizontal_scrolling(self):
        self.add("convolution 7x7")
        browser.width(360)
        self.settled()
        self.assertLessEqual(browser.run("return document.documentElement.scrollWidth"), 360)
        self.assertGreater(browser.box("#after")["width"], 200)
        browser.run("document.getElementById('add').click()")
        self.assertLessEqual(
            browser.run("return document.getElementById('add-dialog').getBoundingClientRect().right"), 360)

    def test_dark_mode_changes_the_surroundings_only(self):
        colors = {}
        for scheme in ("light", "dark"):
            browser.prefer(scheme)
            colors[scheme] = browser.run("return getComputedStyle(document.body).backgroundColor")
        self.assertNotEqual(colors["light"], colors["dark"])

    def test_thumbnails_show_the_present_picture_through_the_filters(self):
        browser.run("document.getElementById('add').click()")
        browser.type("#search", "invert")
        self.wait("document.querySelector('#results canvas').width > 1")
        self.assertEqual(browser.run("return document.getElementById('found').textContent"), "1 filter")
        color = browser.run(
            "return [...document.querySelector('#results canvas').getContext('2d').getImageData(60, 40, 1, 1).data]")
        photo = [40 + 150 // 2, 60 + 100 // 2, 120]
        self.assertNotEqual(color[:3], photo)

    def test_a_thumbnail_of_one_pixel_is_filled_by_it(self):
        browser.run("document.getElementById('add').click()")
        browser.type("#search", "area average")
        self.wait("document.querySelector('#results canvas.tiny')?.width === 1")
        alpha = "return document.querySelector('#results canvas').getContext('2d').getImageData(0, 0, 1, 1).data[3]"
        self.assertEqual(browser.run(alpha), 255)

    def test_methods_of_an_image_are_found_and_work_at_once(self):
        self.add("resized")
        self.assertEqual(self.titles(), ["Resized"])
        self.set("[aria-label='Width, number']", "60")
        self.set("[aria-label='Mode']", "stretch", "change")
        self.assertEqual(self.steps(), ["Resized width=60 height=200 mode=stretch"])
        for method in ("over", "covering", "transform"):
            self.add(method)
        self.assertEqual(browser.run("return document.querySelectorAll('.card.failed').length"), 0)

    def test_the_colors_under_the_pointer_and_clipped_pixels_are_shown(self):
        self.add("exposure")
        self.set("[aria-label='EV, number']", "9")
        box = browser.box("#after")
        browser._send("POST", "/actions", {"actions": [{"type": "pointer", "id": "mouse", "actions": [
            {"type": "pointerMove", "duration": 0, "x": round(box["x"] + 100), "y": round(box["y"] + 100)}]}]})
        self.assertRegex(browser.run("return document.getElementById('color-before').textContent"), "^#[0-9a-f]{6}$")
        self.assertEqual(browser.run("return document.getElementById('color-after').textContent"), "#ffffff")
        self.keys("c")
        self.assertEqual(self.pixel(100, 100)[:3], [255, 40, 60])
        self.wait("document.getElementById('clip-share').textContent.includes('100.0 % bright')")


if __name__ == "__main__":
    unittest.main()
