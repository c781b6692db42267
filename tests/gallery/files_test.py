"""The files of the gallery: filters, pictures, programs, links."""

import concurrent.futures
import html
import json
import os
import pathlib
import re
import shutil
import unittest
import urllib.parse

from written_gallery import Page, filters_without_image, temporary_folder, write_gallery, write_photo, zeva

ROOT = pathlib.Path(__file__).parent.parent.parent
FIDELITY = ROOT / "docs/fidelity.md"
ODD_NAME = "a <b> & 'c'.png"  # shows what a page does not escape
# Filters whose result has one color by definition.
AREAS = {"AreaAverage", "AreaMaximum", "AreaMaximumAlpha", "AreaMinimum", "AreaMinimumAlpha"}
ONE_COLOR = AREAS | {"ConstantColorGenerator"}
# Prints the name of each picture whose pixels are all the same.
FIND_FLAT = """
for _, name in ipairs(arg) do
    local image <close> = CIImageQOR.Open(name)
    local pixels = image:Pixels(image.Extent).Bytes
    if pixels == pixels:sub(1, 4):rep(#pixels // 4) then print(name) end
end
"""


def setUpModule():
    global folder, gallery, pages, described
    folder = temporary_folder()
    gallery = write_gallery(folder, [write_photo(folder, ODD_NAME, 64), write_photo(folder, "other.png", 48)])
    pages = {path.name: Page(path.read_text()) for path in gallery.glob("*.html")}
    names = [row["filter"] for row in json.loads(zeva("list", "--json").stdout)]
    described = {entry["filter"]: entry for entry in json.loads(zeva("describe", "--json", *names).stdout)}


def photo_folders():
    return sorted((gallery / "pictures").iterdir())


def pictures_of(folder):
    """The pictures that the programs of the filters made."""
    return sorted(path.name for path in folder.iterdir() if path.name[0].isupper())


def card_links():
    return [link["href"] for link in pages["index.html"].all("a") if link["href"] != "recipes.html"]


class SettingsTest(unittest.TestCase):
    def test_settings_belong_to_filters_and_set_only_their_keys(self):
        filters = json.loads((ROOT / "host/gallery/gallery.json").read_text())["filters"]
        self.assertLessEqual(set(filters), set(described))  # a filter without settings is shown at its defaults
        for name, entry in filters.items():
            keys = {key["name"] for key in described[name]["properties"] if not key["readOnly"]}
            self.assertGreaterEqual(len(entry["settings"]), 1, name)
            for caption, values in entry["settings"].items():
                self.assertLessEqual(set(values), keys, (name, caption))


class PagesTest(unittest.TestCase):
    def test_every_filter_has_a_page_and_a_card(self):
        expected = {f"{name}.html" for name in described}
        self.assertEqual(set(pages), expected | {"index.html", "recipes.html"})
        cards = card_links()
        self.assertEqual(len(cards), len(described))
        self.assertEqual(set(cards), expected)

    def test_elements_are_properly_nested(self):
        for name, page in pages.items():
            self.assertEqual(page.faults, [], name)
            self.assertEqual(len(page.all("h1")), 1, name)
            self.assertEqual(page.all("html"), [{"lang": "en"}])

    def test_links_and_pictures_exist(self):
        for name, page in pages.items():
            targets = [link["href"] for link in page.all("a") + page.all("link")] + [
                source["src"] for source in page.all("img") + page.all("script")
            ]
            for target in set(targets) - {"data:,"}:
                self.assertTrue((gallery / urllib.parse.unquote(target)).is_file(), (name, target))

    def test_every_picture_has_alternative_text_and_loads_lazily(self):
        for name, page in pages.items():
            for image in page.all("img"):
                self.assertTrue(image["alt"], name)
                self.assertEqual(image["loading"], "lazy")
                self.assertGreater(int(image["width"]) * int(image["height"]), 0)

    def test_photo_names_are_escaped(self):
        text = (gallery / "GaussianBlur.html").read_text()
        self.assertIn("<h2>a &lt;b&gt; &amp; &#39;c&#39;.png</h2>", text)
        self.assertNotIn("<b>", text)

    def test_each_page_shows_every_photo_and_every_property(self):
        for name, entry in described.items():
            text = (gallery / f"{name}.html").read_text()
            self.assertEqual(text.count("<h2>other.png</h2>"), 1)
            self.assertIn(f"<code>{entry['class']}</code>", text)
            for key in entry["properties"]:
                self.assertEqual(text.count(f'<th scope="row"><code>{key["name"]}</code></th>'), 1, (name, key))

    def test_each_page_shows_the_row_of_the_fidelity_table(self):
        rows = [line for line in FIDELITY.read_text().splitlines() if line.startswith("| ![")]
        showing = [page for page in gallery.glob("*.html") if "<h2>Fidelity</h2>" in page.read_text()]
        self.assertEqual(len(showing), len(rows))
        for row in rows:
            _, name, *cells = [cell.strip() for cell in row.strip("|").split("|")]
            section = re.search("<h2>Fidelity</h2>(.*?)</section>", (gallery / f"{name}.html").read_text(), re.S)[1]
            shown = [html.unescape(text) for text in re.findall("<(?:p|dd)>(.*?)</", section)]
            self.assertEqual(sorted(shown), sorted(cell for cell in cells if cell != "-"), name)

    def test_next_links_visit_all_filters(self):
        seen, name = [], "index.html"
        name = card_links()[0]
        while name:
            seen.append(name)
            following = [link["href"] for link in pages[name].all("a") if link.get("rel") == "next"]
            name = following[0] if following else None
        self.assertEqual(seen, card_links())

    def test_nothing_is_loaded_from_other_sites(self):
        for path in gallery.iterdir():
            if path.is_file():
                self.assertNotRegex(path.read_text(), r"://|(src|href)=[\"']//|@import", path.name)


class PicturesTest(unittest.TestCase):
    def test_every_photo_has_the_same_pictures_and_a_page_shows_each(self):
        shown = {image["src"] for page in pages.values() for image in page.all("img")}
        first, second = photo_folders()
        self.assertEqual(pictures_of(first), pictures_of(second))
        self.assertGreater(len(pictures_of(first)), 150)
        for each in photo_folders():
            for picture in pictures_of(each):
                self.assertIn(f"pictures/{each.name}/{picture}", shown)

    def test_no_picture_is_blank(self):
        script = folder / "flat.lua"
        script.write_text(FIND_FLAT)
        pictures = pictures_of(photo_folders()[0])
        flat = zeva("run", script, *pictures, cwd=photo_folders()[0])
        self.assertEqual((flat.returncode, flat.stderr), (0, ""))
        self.assertEqual({name.split("-")[0] for name in flat.stdout.splitlines()}, ONE_COLOR)

    def test_the_programs_on_the_pages_make_the_pictures_on_the_pages(self):
        made_before = photo_folders()[0]
        rendered = described.keys() - filters_without_image()
        programs = [(name, program) for name in sorted(rendered) for program in pages[f"{name}.html"].programs]
        helpers = [path for path in made_before.iterdir() if not path.name[0].isupper()]
        unmatched = set(pictures_of(made_before))

        def run(number):
            name, program = programs[number]
            place = folder / f"program-{number}"
            place.mkdir()
            for helper in helpers:
                shutil.copy(helper, place)
            (place / "program.lua").write_text(program)
            ran = zeva("run", "program.lua", cwd=place)
            self.assertEqual((ran.returncode, ran.stdout, ran.stderr), (0, "", ""), name)
            pictures = pictures_of(place)
            self.assertTrue(pictures, name)
            for picture in pictures:
                self.assertEqual((place / picture).read_bytes(), (made_before / picture).read_bytes(), picture)
            return pictures

        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as workers:
            for pictures in workers.map(run, range(len(programs))):
                unmatched -= set(pictures)
        self.assertEqual(unmatched, set())


class RecipesTest(unittest.TestCase):
    def test_the_page_shows_each_recipe_with_its_picture(self):
        recipes = sorted((ROOT / "share/recipes").glob("*.recipe"))
        self.assertEqual(pages["recipes.html"].programs, [recipe.read_text() for recipe in recipes])
        place = photo_folders()[0]
        shown = [image["src"] for image in pages["recipes.html"].all("img")]
        for recipe in recipes:
            picture = place / f"recipe-{recipe.stem}.jpg"
            self.assertIn(f"pictures/{place.name}/{picture.name}", shown)
            made = folder / picture.name
            applied = zeva("apply", recipe.name, "photo.jpg", "-q", "-o", made, cwd=place)
            self.assertEqual((applied.returncode, applied.stderr), (0, ""))
            self.assertEqual(made.read_bytes(), picture.read_bytes(), recipe.name)


class FailureTest(unittest.TestCase):
    def test_a_failing_picture_is_reported_and_does_not_stop_the_others(self):
        photo = write_photo(folder, "photo.png", 32)
        blocked = folder / "blocked/pictures/photo/GaussianBlur-2.jpg"
        (blocked / "in the way").mkdir(parents=True)
        made = zeva("gallery", photo, "-o", folder / "blocked")
        self.assertEqual(made.returncode, 1)
        reported = [line for line in made.stderr.splitlines() if not line.endswith(": the filter has no output image")]
        self.assertEqual(len(reported), 1, reported)
        self.assertRegex(reported[0], r"^zeva: GaussianBlur, Radius 2, photo.png: .*GaussianBlur-2.jpg")
        self.assertIn(f" written to {folder}/blocked, {len(made.stderr.splitlines())} failed, ", made.stdout)
        page = (folder / "blocked/GaussianBlur.html").read_text()
        self.assertEqual(page.count('<p class="missing">No picture: '), 1)
        self.assertEqual(Page(page).faults, [])
        self.assertTrue((folder / "blocked/pictures/photo/Gloom-1.jpg").is_file())

    def test_a_photo_that_cannot_be_used_is_found_before_anything_is_created(self):
        damaged = write_photo(folder, "damaged.png", 32)
        damaged.write_bytes(damaged.read_bytes()[:-40])
        for name, reason in (("none.png", "no such file or directory"), ("damaged.png", "the file is truncated")):
            made = zeva("gallery", write_photo(folder, "good.png", 32), folder / name, "-o", folder / "none")
            self.assertEqual(made.returncode, 1)
            self.assertRegex(made.stderr, rf"^zeva: \S+{name}: .*{reason}[^\n]*: no gallery was written\n$")
            self.assertFalse((folder / "none").exists())

    def test_a_trace_is_refused(self):
        made = zeva("gallery", "photo.png", "-o", folder / "none", "--trace", folder / "calls.json")
        self.assertEqual(made.stderr, "zeva: --trace: several processes write a gallery and are not traced\n")
        self.assertEqual(made.returncode, 2)

    def test_a_photo_may_not_lie_where_pictures_are_written(self):
        photo = write_photo(folder, "inside.png", 32)
        inside = folder / "over/pictures/photo"
        inside.mkdir(parents=True)
        (folder / "link.png").symlink_to(inside / "photo.jpg")
        (inside / "photo.jpg").write_bytes(photo.read_bytes())
        for name in (inside / "photo.jpg", folder / "link.png"):
            made = zeva("gallery", name, "-o", folder / "over")
            self.assertEqual(made.stderr, f"zeva: {name}: the gallery would overwrite it; nothing was written\n")
            self.assertEqual(made.returncode, 2)
        self.assertEqual((inside / "photo.jpg").read_bytes(), photo.read_bytes())


class SecondPictureTest(unittest.TestCase):
    def test_a_second_picture_is_used_by_filters_that_take_two(self):
        photo, other = write_photo(folder, "first.png", 32), folder / "blue.png"
        script = folder / "blue.lua"
        script.write_text(
            'CIImageQOR.FromColor(CIColorQOR.Hex("#0000ff")):Crop(CIVectorQOR.Rectangle(0, 0, 9, 9)):Save(...)')
        self.assertEqual(zeva("run", script, other).returncode, 0)
        place = folder / "with second"
        made = zeva("gallery", photo, "--second", other, "-o", place)
        self.assertEqual(made.returncode, 0, made.stderr)
        script.write_text('print(CIImageQOR.Open(...):ColorAt(4, 4).Text)')
        shown = zeva("run", script, place / "pictures/first/second.jpg").stdout.split()
        self.assertLess(float(shown[0]), 0.05)
        self.assertGreater(float(shown[2]), 0.95)


class LargePhotoTest(unittest.TestCase):
    def test_a_large_photo_is_scaled_down(self):
        photo = write_photo(folder, "large.png", 900)
        script = folder / "size.lua"
        script.write_text('print(CIImageQOR.Open("photo.jpg").Extent.Text)')
        place = folder / "scaled"
        place.mkdir()
        ran = zeva("run", ROOT / "host/gallery/prepare.lua", photo, cwd=place)
        self.assertEqual((ran.returncode, ran.stderr), (0, ""))
        self.assertEqual(zeva("run", script, cwd=place).stdout, "[0 0 800 800]\n")


if __name__ == "__main__":
    unittest.main()
