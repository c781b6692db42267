#!/usr/bin/env python3
"""Threads, forks, callbacks and the end of the interpreter. Each program runs in a process of its own."""

import os
import pathlib
import subprocess
import sys
import tempfile
import threading
import unittest

import program
import zeva
from program import PHOTO

SETUP = f"import zeva\nphoto = zeva.open({PHOTO!r})\n"


class ProcessTest(unittest.TestCase):
    def test_threads_take_turns_and_get_their_own_errors(self):
        problems = []

        def work(number):
            try:
                blur = zeva.filters.GaussianBlur(image=zeva.open(PHOTO))
                for radius in range(50):
                    blur.radius = radius
                    assert blur.radius == radius
                    try:
                        zeva.open(f"missing{number}.jpg")
                    except zeva.errors.Raised as error:
                        assert f"missing{number}.jpg" in str(error), error
            except Exception as problem:
                problems.append(problem)

        threads = [threading.Thread(target=work, args=(number,)) for number in range(4)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual([], problems)

    def test_rendering_releases_the_interpreter_lock(self):
        # The interpreter takes the lock away from no thread: the counter moves only while the call has released it.
        printed = program.run(SETUP + """
import sys, threading, time
photo.crop((0, 0, 2, 2)).values()  # imports numpy, which releases the lock, too
sys.setswitchinterval(1000)
count, stop = 0, False
def work():
    global count
    while not stop:
        count += 1
        time.sleep(0.0001)
thread = threading.Thread(target=work, daemon=True)
thread.start()
chain = photo.affine_transform(transform="scale:4").gaussian_blur(radius=30).crop((0, 0, 1500, 1500))
before = count
for _ in range(50):  # on a busy machine, the thread may miss a short rendering
    chain.values()
    if count > before:
        break
after = count
stop = True
thread.join()
print(after > before)
""")
        self.assertEqual("True\n", printed)

    def test_a_process_forked_before_the_first_use_has_its_own_host(self):
        printed = program.run(f"""
import os, zeva
child = os.fork()
if child:
    assert os.waitpid(child, 0)[1] == 0
print(zeva.open({PHOTO!r}).size)
""")
        self.assertEqual("(512, 600)\n" * 2, printed)

    def test_a_process_forked_after_the_first_use_is_advised_to_spawn(self):
        printed = program.run(SETUP + """
import os
blur = zeva.filters.GaussianBlur()
child = os.fork()
if child == 0:
    for work in (lambda: photo.size, lambda: zeva.filters.Bloom(), lambda: setattr(blur, "radius", 1)):
        try:
            work()
        except zeva.errors.Forked as error:
            print("get_context(\\"spawn\\")" in str(error), flush=True)
    del blur, photo
else:
    assert os.waitpid(child, 0)[1] == 0
    blur.radius = 3
    print(blur.radius)
""")
        self.assertEqual("True\nTrue\nTrue\n3.0\n", printed)

    def test_spawned_workers_have_hosts_of_their_own(self):
        folder = self.enterContext(tempfile.TemporaryDirectory())
        path = pathlib.Path(folder, "worker.py")
        path.write_text(f"""
import multiprocessing, zeva
def size(scale):
    return zeva.open({PHOTO!r}).affine_transform(transform=f"scale:{{scale}}").size
if __name__ == "__main__":
    zeva.open({PHOTO!r})
    with multiprocessing.get_context("spawn").Pool(2) as pool:
        print(pool.map(size, [1, 2]))
""")
        done = subprocess.run([sys.executable, "-B", path], capture_output=True, text=True, timeout=600)
        self.assertEqual("[(512, 600), (1024, 1200)]\n", done.stdout, done.stderr)

    def test_the_interpreter_ends_quietly_with_objects_arrays_and_threads(self):
        printed = program.run(SETUP + """
import threading, time
array = photo.values()
class Cycle: pass
cycle = Cycle()
cycle.self, cycle.image, cycle.lent = cycle, photo.gaussian_blur(radius=3), zeva.from_array(array)
import builtins
builtins.kept = [photo, array, cycle]
def work():
    while True:
        photo.color_at(1, 1)
threading.Thread(target=work, daemon=True).start()
time.sleep(0.05)
""")
        self.assertEqual("", printed)

    def test_messages_go_to_the_log_and_exceptions_in_callbacks_are_shown(self):
        setup = """
import ctypes, zeva
zeva.filters.Bloom()
report = lambda text: zeva._host._report(text, None)
"""
        self.assertIn("a message", program.run(setup + "report(b'a message')"))
        printed = program.run(setup + "zeva.on_message(print)\nreport(b'shown')\n"
                              "def fail(message): raise KeyError(message)\nzeva.on_message(fail)\nreport(b'lost')\n"
                              "print(zeva.filters.Bloom().radius)")
        self.assertIn("shown\n", printed)
        self.assertIn("KeyError: 'lost'", printed)
        self.assertTrue(printed.endswith("10.0\n"), printed)

    def test_a_host_without_modules_loads_those_that_are_named(self):
        folder = os.environ["ZEVA_FILTERS"]
        printed = program.run("import sys, zeva\nzeva.open_host(default_modules=False, modules=sys.argv[1:])\n"
                              "print(zeva.filters.Bloom().radius)", f"{folder}/companion.so", f"{folder}/filters.so")
        self.assertEqual("10.0\n", printed)

    @unittest.skipUnless("ZEVA_SPELLINGS_MODULE" in os.environ, "the module of the tests is not built")
    def test_modules_that_the_environment_names_are_loaded(self):
        printed = program.run("import zeva\nprint(zeva.CIFilterWideBlurQOR().far_away)",
                              environment=os.environ | {"ZEVA_MODULES": os.environ["ZEVA_SPELLINGS_MODULE"]})
        self.assertEqual("-1.0\n", printed)


if __name__ == "__main__":
    unittest.main()
