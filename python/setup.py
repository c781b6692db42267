"""Makes the wheel out of the folder that make_wheel.py has staged: the package with its libraries and modules."""

import os

from setuptools import Distribution, setup
from wheel.bdist_wheel import bdist_wheel


class WithLibraries(Distribution):
    def has_ext_modules(self):
        return True


class Wheel(bdist_wheel):
    def get_tag(self):
        # The libraries know nothing of Python, so any version of it can use them.
        return "py3", "none", os.environ["ZEVA_PLATFORM"]


setup(
    name="zeva",
    version=os.environ["ZEVA_VERSION"],
    description="Core Image filters and the classes of every module, in Python",
    license="MIT",
    python_requires=">=3.8",
    packages=["zeva"],
    package_data={"zeva": ["*.pyi", "py.typed", "lib/*.so", "modules/*.so"]},
    distclass=WithLibraries,
    cmdclass={"bdist_wheel": Wheel},
)
