"""The studio without a browser: pictures, texts, results, presets, crashes, and how it starts and ends."""

import json
import os
import pathlib
import shutil
import signal
import socket
import subprocess
import time
import unittest

from studio_process import (ADDED_FILTER, CRASHING_FILTER, FILTERS, PHOTO, ZEVA, Studio, card, picture, png,
                            temporary_folder, view)

WIDTH, HEIGHT = 240, 200
SCALE = 4  # of the reduced previews
# How far a reduced preview may be from the full picture scaled down, in levels of 255: root mean square.
MOST_ERROR = 7.0


def smooth(x, y):
    """A picture without detail that a smaller one cannot show, so that only the filters make a difference."""
    u, v = x / WIDTH, y / HEIGHT
    return (int(255 * (0.2 + 0.6 * u)), int(255 * (0.5 + 0.35 * (1 - 2 * abs(v - 0.5)) * (1 - u))),
        int(255 * (0.75 - 0.5 * v)))


def setUpModule():
    global folder, photo, studio, live, filters
    folder = temporary_folder()
    photo = folder / "photo.png"
    photo.write_bytes(png(WIDTH, HEIGHT, smooth))
    other = folder / "other.png"
    other.write_bytes(png(WIDTH, HEIGHT, lambda x, y: smooth(WIDTH - 1 - x, HEIGHT - 1 - y)))
    studio = Studio("--folder", folder, env=os.environ | {"XDG_DATA_HOME": str(folder / "data")}).enter()
    unittest.addModuleCleanup(studio.end)
    live = studio.live()
    unittest.addModuleCleanup(live.close)
    filters = json.loads(studio.get("/catalogue.json").body)["filters"]


def number(name):
    return next(str(file["number"]) for file in live.files() if file["name"] == name)


def first_card(filter, name="c1"):
    """A card as the page adds it: positions and rectangles fit the photo, and pictures are the other one."""
    settings = {}
    for key in filter["properties"]:
        if key.get("unit") in ("position", "rectangle") and isinstance(key.get("default"), list):
            sizes = (WIDTH / 300, HEIGHT / 300)
            settings[key["name"]] = ",".join(f"{round(n * sizes[i % 2])}" for i, n in enumerate(key["default"]))
        elif key["type"] == "CIImageQOR" and key["name"] not in ("inputImage", "outputImage"):
            settings[key["name"]] = f"#{number('other.png')}"
        elif key["type"] == "memoryblock":
            settings[key["name"]] = ",".join(str(c) for i in range(8) for c in (i & 1, i >> 1 & 1, i >> 2, 1))
    return card(name, filter["filter"], **settings)


def render(cards, width=WIDTH, keep=True, isQuick=False, **part):
    area = {"x": 0, "y": 0, "w": WIDTH, "h": HEIGHT} | part
    answer, pixels = live.call("render", photo=number("photo.png"), cards=cards, keepSize=keep, isQuick=isQuick,
        view={"width": width, **area})
    return answer, pixels


def save(cards, format="png", **members):
    answer = live.call("save", photo=number("photo.png"), cards=cards, keepSize=True, format=format, options={},
        name="x", **members)[0]
    assert "error" not in answer, answer
    return studio.get(answer["download"]).body


def texts(cards, keep=True):
    answer = live.call("copy", photo=number("photo.png"), cards=cards, keepSize=keep)[0]
    assert "error" not in answer, answer
    return answer


def zeva(*words):
    made = subprocess.run([ZEVA, *map(str, words)], capture_output=True, text=True, cwd=folder, timeout=60)
    assert made.returncode == 0, (words, made.stderr)


def run_command(command):
    made = subprocess.run(["sh", "-c", f'zeva() {{ "{ZEVA}" "$@"; }}; {command}'], capture_output=True, text=True,
        cwd=folder, timeout=60)
    assert made.returncode == 0, made.stderr
    return (folder / "result.png").read_bytes()


def premultiplied(pixels):
    """Straight RGBA as numbers that can be compared: the color of a transparent pixel does not count."""
    return [pixels[at] if at % 4 == 3 else pixels[at] * pixels[at | 3] / 255 for at in range(len(pixels))]


def picture_of(cards, *options):
    """The pixels that a copied command makes."""
    command = texts(cards)["command"].replace("-o result.png", " ".join(options) + " -o result.png")
    run_command(command)
    return [component for row in picture.read(folder / "result.png") for pixel in row
        for component in (*pixel, 255)[:4]]


class PictureTest(unittest.TestCase):
    def test_the_preview_at_full_size_has_the_pixels_of_the_result(self):
        cards = [card("c1", "GaussianBlur", inputRadius="3"), card("c2", "ColorInvert")]
        answer, pixels = render(cards)
        self.assertEqual((answer["part"], answer["isFullSize"]), ([0, 0, WIDTH, HEIGHT], True))
        self.assertEqual(answer["frame"], [0, 0, WIDTH, HEIGHT])
        self.assertEqual(list(pixels), picture_of(cards))

    def test_a_preview_is_close_to_the_pixels_and_has_their_alpha(self):
        # The blur leaves a translucent margin, and what lies beyond it is clear.
        cards = [card("c1", "Crop", inputRectangle="40,30,150,120"), card("c2", "GaussianBlur", inputRadius="2")]
        answer, data = render(cards, isQuick=True)
        exact = render(cards)[1]
        self.assertEqual([stripe[:2] for stripe in answer["stripes"]], [[0, 112], [112, HEIGHT - 112]])
        near = bytearray()
        for _, height, length in answer["stripes"]:
            jpeg, data = data[:length], data[length:]
            opened = json.loads(studio.drop("stripe.jpg", jpeg).body)["number"]
            near += live.call("render", photo=str(opened), cards=[], keepSize=True, view=view(WIDTH, height))[1]
        for x, y, width, height in answer["clear"] + answer["translucent"]:
            for at in (row * WIDTH + column for row in range(y, y + height) for column in range(x, x + width)):
                near[4 * at + 3] = 0
        for x, y, width, height in answer["translucent"]:
            for row in range(y, y + height):
                at = 4 * (row * WIDTH + x)
                near[at + 3:at + 4 * width:4], data = data[:width], data[width:]
        self.assertEqual(data, b"")
        self.assertEqual(near[3::4], exact[3::4])
        # The colors are premultiplied, and those of clear pixels do not count.
        errors = [abs(near[i] - wanted) for i, wanted in enumerate(premultiplied(exact)) if near[i | 3] > 0]
        self.assertLessEqual(max(errors), 10)

    def test_previews_of_a_slow_chain_are_reduced_and_its_result_is_not(self):
        cards = [card(f"c{i}", "Gloom") for i in range(15)]
        self.assertEqual(render(cards)[0]["scale"], 1)
        answer = render(cards, isQuick=True)[0]
        self.assertLess(answer["scale"], 1)
        self.assertEqual(answer["part"], [0, 0, WIDTH * answer["scale"], HEIGHT * answer["scale"]])
        answer, pixels = render(cards)
        self.assertEqual((answer["scale"], len(pixels)), (1, 4 * WIDTH * HEIGHT))

    def test_a_small_picture_has_no_preview(self):
        answer, pixels = render([], isQuick=True, w=100, h=100)
        self.assertNotIn("stripes", answer)
        self.assertEqual(len(pixels), 4 * 100 * 100)

    def test_a_part_has_the_same_pixels_as_the_whole(self):
        cards = [card("c1", "BumpDistortion", inputCenter="120,100", inputRadius="80")]
        whole = render(cards)[1]
        answer, part = render(cards, x=50, y=30, w=20, h=10)
        self.assertEqual(answer["part"], [50, 30, 20, 10])
        wanted = b"".join(whole[4 * (y * WIDTH + 50):4 * (y * WIDTH + 70)] for y in range(30, 40))
        self.assertLessEqual(max(abs(a - b) for a, b in zip(part, wanted)), 1)

    def test_reduced_previews_of_all_filters_look_like_the_full_picture_scaled_down(self):
        width, height = WIDTH // SCALE, HEIGHT // SCALE

        def error_of(filter):
            cards = [first_card(filter)]
            wanted = premultiplied(picture_of(cards, "--resize", f"{width}x{height}"))
            pairs = list(zip(wanted, premultiplied(previews[filter["filter"]]), strict=True))
            return (sum((a - b) ** 2 for a, b in pairs) / len(pairs)) ** 0.5

        previews = {}
        for filter in filters:
            cards = [first_card(filter)]
            answer, preview = render(cards, width=width, w=width, h=height)
            self.assertNotIn("error", answer, filter["filter"])
            # The others are rendered at full size, or have a result that is smaller than the photo.
            fills = render(cards, width=width, keep=False, x=-999, y=-999, w=9999, h=9999)[0]["frame"]
            covers = fills[0] <= 0 and fills[1] <= 0 and fills[0] + fills[2] >= width and fills[1] + fills[3] >= height
            if not answer["isFullSize"] and covers:
                previews[filter["filter"]] = preview
        self.assertGreater(len(previews), 40)
        errors = {filter["filter"]: error_of(filter) for filter in filters if filter["filter"] in previews}
        self.assertEqual({name: round(error, 1) for name, error in errors.items() if error > MOST_ERROR}, {})

    def test_short_distances_and_grids_of_pixels_are_rendered_at_full_size(self):
        half = {"width": WIDTH // 2, "w": WIDTH, "h": HEIGHT}
        for cards, is_full in (([card("c1", "GaussianBlur", inputRadius="10")], False),
                               ([card("c1", "GaussianBlur", inputRadius="3")], True),
                               ([card("c1", "GaussianBlur", inputRadius="0")], False),
                               ([card("c1", "Edges")], True), ([card("c1", "ColorInvert")], False),
                               ([card("c1", "ColorInvert"), card("c2", "Convolution3X3")], True)):
            self.assertEqual(render(cards, **half)[0]["isFullSize"], is_full, cards)

    def test_the_newest_state_wins_and_nothing_queues_up(self):
        asked = [live.begin("render", photo=number("photo.png"), keepSize=True, view=view(WIDTH, HEIGHT),
                            cards=[card("c1", "GaussianBlur", inputRadius=str(i))]) for i in range(200)]
        answered = []
        while not answered or answered[-1] != asked[-1]:
            answered.append(live.receive()[0]["id"])
        self.assertEqual(answered, sorted(answered))
        self.assertLess(len(answered), 150)

    def test_a_result_without_the_photos_frame_has_its_own(self):
        cards = [card("c1", "AffineTransform", inputTransform="translate:30,10")]
        self.assertEqual(render(cards, keep=False, x=-100, y=-100, w=600, h=600)[0]["part"], [30, -10, WIDTH, HEIGHT])
        self.assertEqual(render(cards)[0]["frame"], [0, 0, WIDTH, HEIGHT])

    def test_a_card_that_cannot_work_is_named(self):
        cards = [card("c1", "ColorInvert"), card("c7", "GaussianBlur", inputRadius="wide"), card("c8", "ColorInvert")]
        answer = render(cards)[0]
        self.assertEqual(answer["card"], "c7")
        self.assertIn("'wide' is not a number", answer["error"])
        self.assertEqual(render([card("c3", "BlendWithMask", inputMaskImage="$c9")])[0]["card"], "c3")


class TextTest(unittest.TestCase):
    def test_all_filters_come_back_from_all_forms(self):
        for filter in filters:
            cards = [first_card(filter),
                card("c2", "BlendWithMask", inputMaskImage="$c1", inputBackgroundImage="$input")]
            made = texts(cards)
            for form in ("command", "lua", "recipe"):
                read = live.call("paste", photo=number("photo.png"), text=made[form])[0]
                self.assertNotIn("error", read, (filter["filter"], form))
                self.assertEqual(texts(read["cards"])["link"].replace("s1", "c1"), made["link"].replace("s1", "c1"),
                    filter["filter"])
                self.assertTrue(read["keepSize"])
            link = live.call("paste", text=made["link"])[0]
            self.assertEqual([each["filter"] for each in link["cards"]], [filter["filter"], "BlendWithMask"])
            slots = sum(key.endswith("CubeData") or text.startswith("#") for key, text in cards[0]["settings"].items())
            self.assertEqual(len(link["notes"]), slots, filter["filter"])

    def test_all_four_forms_make_the_bytes_of_the_result(self):
        other = f"#{number('other.png')}"
        chains = [
            [card("c1", "GaussianBlur", inputRadius="4.25")],
            [card("c1", "Gloom"), card("c2", "BlendWithMask", inputMaskImage=other, inputBackgroundImage="$input"),
             card("c3", "ColorMonochrome", inputColor="#336699cc")],
            [card("c1", "GaussianBlur"), card("c2", "CheckerboardGenerator", inputWidth="20"),
             card("c3", "ColorBlendMode", inputBackgroundImage="$c1")],
            [card("c1", "ColorInvert"), card("c2", "CheckerboardGenerator", inputCenter="7,9")],
            [card("c1", "AffineTransform", inputTransform="scale:1.5 rotate:20 translate:-40,12")],
        ]
        for cards in chains:
            made, wanted = texts(cards), save(cards)
            self.assertEqual(run_command(made["command"]), wanted, cards)
            takes_photo = str(photo) in made["command"]
            inputs = [photo] if takes_photo else []
            (folder / "program.lua").write_text(made["lua"])
            zeva("run", "program.lua", *inputs, "by-lua.png")
            self.assertEqual((folder / "by-lua.png").read_bytes(), wanted, cards)
            (folder / "made.recipe").write_text(made["recipe"])
            zeva("apply", "made.recipe", *inputs, "-o", "by-recipe.png")
            self.assertEqual((folder / "by-recipe.png").read_bytes(), wanted, cards)
            if 'picture' not in made["recipe"]:
                zeva("apply", made["link"], *inputs, "-o", "by-link.png")
                self.assertEqual((folder / "by-link.png").read_bytes(), wanted, cards)

    def test_a_program_that_was_changed_and_other_programs_are_refused(self):
        lua = texts([card("c1", "GaussianBlur", inputRadius="5")])["lua"]
        for text in (lua.replace("= 5", "= 6"), "os.execute('touch x')\nlocal a = 1",
            "local filter = CIFilterGloomQOR()"):
            self.assertRegex(live.call("paste", text=text)[0]["error"], "^Lua: .*(Copy|own form)")

    def test_other_commands_are_refused_and_not_executed(self):
        for text in ("rm -rf /tmp/none; zeva apply GaussianBlur", "zeva apply GaussianBlur | sh", "zeva apply $(id)",
            "'",
                     "zeva apply GaussianBlur --in-place a.png", "", "GaussianBlr"):
            self.assertIn("error", live.call("paste", text=text)[0], text)

    def test_a_typed_command_is_read(self):
        read = live.call("paste",
            text=f"$ zeva apply gaussianblur radius=2 + cicolorinvert '{photo}' -o x.jpg --keep-size --quality 80")[0]
        self.assertEqual([(each["filter"], each["settings"]) for each in read["cards"]],
            [("GaussianBlur", {"inputRadius": "2"}), ("ColorInvert", {})])
        self.assertEqual((read["photo"], read["keepSize"]), (int(number("photo.png")), True))
        self.assertEqual(read["notes"], ["--quality is left out; Save asks for it"])

    def test_the_rectangle_of_a_command_becomes_a_card_and_its_size_a_note(self):
        command = f"zeva apply GaussianBlur radius=2 '{photo}' --rect 10,20,100,80 -o result.png"
        read = live.call("paste", text=command + " --resize 50%")[0]
        self.assertEqual([each["filter"] for each in read["cards"]], ["GaussianBlur", "Crop"])
        self.assertEqual((read["cards"][1]["settings"], read["keepSize"]), ({"inputRectangle": "10,20,100,80"}, False))
        self.assertEqual(read["notes"], ["--resize is left out; add it to the copied command"])
        wanted = run_command(command)
        self.assertEqual(run_command(texts(read["cards"], keep=False)["command"]), wanted)

    def test_the_command_for_a_folder_makes_the_results_of_its_pictures(self):
        cards = [card("c1", "ColorMonochrome", inputColor="#336699"), card("c2", "GaussianBlur", inputRadius="3")]
        pictures = folder / "few"
        pictures.mkdir()
        (pictures / "photo.png").write_bytes(photo.read_bytes())
        own = Studio("--folder", pictures).enter()
        self.addCleanup(own.end)
        made = own.live().call("copy", photo="1", cards=cards, keepSize=True)[0]
        run_command(made["folder"] + f" && cp '{pictures}-results/photo.png' result.png")
        self.assertEqual((folder / "result.png").read_bytes(), save(cards))
        self.assertNotIn("folder", texts([card("c1", "ConstantColorGenerator")]))


class ResultTest(unittest.TestCase):
    def test_results_have_every_format(self):
        begins = {"png": b"\x89PNG", "jpg": b"\xff\xd8", "webp": b"RIFF", "tiff": b"II*\0", "heic": b"\0\0\0",
            "avif": b"\0\0\0"}
        for format, begin in begins.items():
            answer = live.call("save", photo=number("photo.png"), cards=[card("c1", "ColorInvert")], keepSize=True,
                format=format,
                               options={"quality": "80"} if format not in ("png", "tiff") else {}, name="a",
                                   toFolder=True)[0]
            if "error" in answer:
                self.assertRegex(answer["error"], "cannot be written|needs lib", format)
                continue
            self.assertEqual((folder / answer["name"]).read_bytes()[:len(begin)], begin)
            self.assertEqual((answer["width"], answer["height"]), (WIDTH, HEIGHT))

    def test_saving_reports_how_much_is_written(self):
        for signal_number in (signal.SIGSTOP, signal.SIGCONT):
            for worker in studio.workers():
                os.kill(worker, signal_number)
            if signal_number == signal.SIGSTOP:
                wanted = live.begin("save", photo=number("photo.png"), cards=[], keepSize=True, format="png",
                    options={}, name="x")
                self.assertEqual(live.receive()[0], {"id": wanted, "written": 0})
        answer = live.receive()[0]
        while "written" in answer:
            answer = live.receive()[0]
        self.assertEqual((answer["id"], answer["name"]), (wanted, "x.png"))

    def test_a_table_that_is_not_a_cube_is_refused(self):
        for numbers, colors in (("0,0,0,1", "1"), (",".join("0" * 4 * 9), "9")):
            answer = render([card("c1", "ColorCube", inputCubeData=numbers)])[0]
            self.assertEqual(answer["card"], "c1")
            self.assertIn(f"{colors} colors are not a cube", answer["error"])

    def test_a_dropped_picture_is_opened_once_and_named_without_its_folder(self):
        answer = json.loads(studio.drop("dropped%20one.png", png(20, 10)).body)
        file = next(each for each in answer["files"] if each["number"] == answer["number"])
        self.assertEqual((file["name"], file["width"], file["height"]), ("dropped one.png", 20, 10))
        cards = [card("c1", "BlendWithMask", inputMaskImage=f"#{answer['number']}", inputBackgroundImage="$input")]
        made = texts(cards)
        self.assertIn("dropped_one.png", made["recipe"])
        self.assertNotIn("/tmp", made["recipe"].replace(str(folder), ""))
        self.assertEqual(len(made["notes"]), 1)
        self.assertEqual(live.call("paste", text=made["recipe"])[0]["cards"][0]["settings"]["inputMaskImage"],
            f"#{answer['number']}")

    def test_presets_are_files_of_the_user(self):
        cards = [card("c1", "ColorMonochrome", inputColor="#804020")]
        kept = live.call("preset-keep", photo=number("photo.png"), cards=cards, keepSize=True, name="Warm & old")[0]
        self.assertIn({"name": "Warm & old", "isOwn": True, "about": ""}, kept["presets"])
        path = folder / "data/zeva/recipes/Warm & old.recipe"
        self.assertEqual(path.read_text().splitlines()[0], "zeva-recipe 1")
        read = live.call("preset", name="Warm & old", isOwn=True)[0]
        self.assertEqual(read["cards"][0]["settings"], {"inputColor": "#804020"})
        self.assertIn("error", live.call("preset-keep", photo=number("photo.png"), cards=cards, name="../x")[0])
        live.call("preset-delete", name="Warm & old")
        self.assertFalse(path.exists())

    def test_every_preset_of_the_program_is_read(self):
        for preset in live.call("presets")[0]["presets"]:
            if not preset["isOwn"]:
                self.assertNotIn("error", live.call("preset", name=preset["name"], isOwn=False)[0], preset)


class CrashTest(unittest.TestCase):
    def test_a_filter_that_ends_the_worker_is_blamed_and_the_next_picture_is_rendered(self):
        own = Studio(PHOTO, "--module", CRASHING_FILTER,
                     env=os.environ | {"ZEVA_CRASH_MODULE": str(FILTERS),
                         "ZEVA_CRASH_CLASS": "CIFilterGloomQOR"}).enter()
        self.addCleanup(own.end)
        page = own.live()
        self.addCleanup(page.close)
        cards = [card("c1", "ColorInvert"), card("c2", "Gloom"), card("c3", "ColorInvert")]
        answer = page.call("render", photo="1", cards=cards, keepSize=True, view=view(100, 100))[0]
        self.assertEqual((answer["card"], answer["restarted"]), ("c2", True))
        self.assertEqual(answer["error"], "the rendering process ended unexpectedly; it was started again")
        answer = page.call("render", photo="1", cards=cards[:1], keepSize=True, view=view(100, 100))[0]
        self.assertEqual(answer["part"], [0, 0, 100, 100])

    def test_a_worker_that_is_killed_in_the_middle_is_started_again(self):
        for _ in range(3):
            wanted = live.begin("render", photo=number("photo.png"), keepSize=True, view=view(WIDTH, HEIGHT),
                                cards=[card(f"c{i}", "Crystallize", inputRadius="30") for i in range(6)])
            for worker in studio.workers():
                os.kill(worker, signal.SIGKILL)
            answer = live.receive()[0]
            self.assertEqual(answer["id"], wanted)
            self.assertTrue(answer.get("restarted") or "part" in answer, answer)
            self.assertNotIn("card", answer)
            render([])  # notices a worker that was killed after its answer
        self.assertIn("part", render([])[0])


class ProgramTest(unittest.TestCase):
    def fails(self, *arguments):
        made = subprocess.run([ZEVA, "studio", "--no-open", *map(str, arguments)], capture_output=True, text=True,
            timeout=60)
        return made.returncode, made.stdout, made.stderr

    def test_signals_end_it_with_its_workers_and_its_private_folder(self):
        for number_of_signal in (signal.SIGINT, signal.SIGTERM):
            own = Studio(photo).enter()
            own.live().files()
            workers = own.workers()
            private = {os.readlink(path) for worker in workers for path in pathlib.Path(f"/proc/{worker}/fd").glob("*")}
            self.assertGreater(len(workers), 0)
            self.assertEqual(own.end(number_of_signal), (128 + number_of_signal, "", ""))
            end = time.monotonic() + 20  # whoever inherits the workers collects them
            while left := [worker for worker in workers if pathlib.Path(f"/proc/{worker}").exists()]:
                self.assertLess(time.monotonic(), end, left)
                time.sleep(0.01)
            self.assertFalse(any("zeva-studio-" in path and pathlib.Path(path).exists() for path in private))

    def test_a_port_that_is_taken_and_wrong_arguments_are_refused(self):
        with socket.socket() as taken:
            taken.bind(("127.0.0.1", 0))
            taken.listen()
            port = taken.getsockname()[1]
            self.assertEqual(self.fails("--port", port), (2, "", f"zeva: --port {port}: the port is not free\n"))
        self.assertEqual(self.fails("--port", 70000)[0], 2)
        self.assertEqual(self.fails("--folder", folder / "none")[0], 2)
        self.assertEqual(self.fails(folder / "none.png")[0], 1)
        self.assertEqual(self.fails("--trace", "x.json")[0], 2)

    def test_a_filter_of_an_added_module_is_in_the_catalogue_and_a_card(self):
        for arguments, environment in ((["--load", ADDED_FILTER], {}), ([], {"ZEVA_MODULES": ADDED_FILTER})):
            own = Studio(photo, *arguments, env=os.environ | environment).enter()
            self.addCleanup(own.end)
            known = json.loads(own.get("/catalogue.json").body)["filters"]
            plain = next(each for each in known if each["filter"] == "Plain")
            self.assertEqual([key["name"] for key in plain["properties"]], ["inputStrength", "outputImage"])
            answer = own.live().call("render", photo="1", cards=[card("c1", "Plain", inputStrength="2")],
                view=view(9, 9))[0]
            self.assertEqual((answer["card"], answer["error"]),
                ("c1", "Plain: it has no output image for these settings"))

    def test_a_missing_library_of_the_web_server_is_named(self):
        (folder / "bin").mkdir()
        program = shutil.copy(ZEVA, folder / "bin/zeva")

        def failure():
            libraries = {"LD_LIBRARY_PATH": str(FILTERS.parent.parent / "lib")}
            made = subprocess.run([program, "studio", "--no-open"], capture_output=True, text=True, timeout=60,
                env=os.environ | libraries)
            return made.returncode, made.stdout, made.stderr

        self.assertEqual(failure(),
            (2, "", "zeva: studio: it was not built; install libcivetweb-dev and build zeva again\n"))
        (folder / "lib").mkdir()
        (folder / "lib/libstudio_server.so").write_bytes(b"needs a library that is missing")
        self.assertEqual(failure(),
            (2, "", "zeva: studio: the web server's library is missing; install libcivetweb1\n"))

    def test_a_chosen_port_is_used(self):
        with socket.socket() as free:
            free.bind(("127.0.0.1", 0))
            port = free.getsockname()[1]
        own = Studio("--port", port)
        self.assertEqual(own.port, port)
        own.end()


if __name__ == "__main__":
    unittest.main()
