#!/usr/bin/env python3
"""Lists what a package contains as SPDX 2.3, in JSON: each file with its digests, and the packages that it needs.

Usage: write_spdx.py FOLDER NAME VERSION LICENSE OUTPUT [--needs PACKAGES] [--recommends PACKAGES]

FOLDER is what the package installs, OUTPUT a file in it, which does not list itself. PACKAGES is a list as in a Debian
control file: "libc6 (>= 2.36), libffi8". The list is dated by SOURCE_DATE_EPOCH, or else with the time of the call; the
same files and date give the same bytes.
"""

import argparse
import datetime
import hashlib
import json
import os
import pathlib
import re
import time
import uuid


def identifier(text):
    """Letters, digits, dots and hyphens are the only characters that SPDX allows there."""
    return "SPDXRef-" + re.sub(r"[^A-Za-z0-9.]+", "-", text)


def entry(folder, path):
    """A file as SPDX describes it. SHA-1 is the one digest that version 2.3 demands."""
    data, name = path.read_bytes(), path.relative_to(folder).as_posix()
    return {
        "SPDXID": f"{identifier(name)}-{hashlib.sha1(name.encode()).hexdigest()[:8]}",
        "fileName": f"./{name}",
        "checksums": [{"algorithm": kind.upper(), "checksumValue": hashlib.new(kind, data).hexdigest()}
                      for kind in ("sha1", "sha256")],
        "licenseConcluded": "MIT",
        "licenseInfoInFiles": ["NOASSERTION"],
        "copyrightText": "NOASSERTION",
    }


def verification_code(files):
    """One digest of all files, as SPDX defines it."""
    digests = sorted(file["checksums"][0]["checksumValue"] for file in files)
    return hashlib.sha1("".join(digests).encode()).hexdigest()


def needed(text):
    """Debian's list of packages as pairs of a name and the demanded version."""
    for item in filter(None, map(str.strip, text.split(","))):
        name, _, version = item.partition(" ")
        yield name, version.strip("() ")


def document(folder, name, version, license_text, output, relations):
    files = [entry(folder, path) for path in sorted(folder.rglob("*"))
             if path.is_file() and not path.is_symlink() and path != output]
    code = verification_code(files)
    seconds = int(os.environ.get("SOURCE_DATE_EPOCH", time.time()))
    created = datetime.datetime.fromtimestamp(seconds, datetime.timezone.utc)
    own = identifier(f"package-{name}")
    packages = [{
        "SPDXID": own,
        "name": name,
        "versionInfo": version,
        "downloadLocation": "NOASSERTION",
        "filesAnalyzed": True,
        "packageVerificationCode": {
            "packageVerificationCodeValue": code,
            "packageVerificationCodeExcludedFiles": [f"./{output.relative_to(folder).as_posix()}"],
        },
        "licenseConcluded": "MIT",
        "licenseDeclared": "MIT",
        "licenseInfoFromFiles": ["NOASSERTION"],
        "copyrightText": re.search(r"(?m)^Copyright .*$", license_text)[0],
    }]
    relationships = [{"spdxElementId": "SPDXRef-DOCUMENT", "relationshipType": "DESCRIBES", "relatedSpdxElement": own}]
    relationships += [{"spdxElementId": own, "relationshipType": "CONTAINS", "relatedSpdxElement": file["SPDXID"]}
                      for file in files]
    for kind, text in relations.items():
        for other, demanded in needed(text):
            packages.append({"SPDXID": identifier(f"needed-{other}"), "name": other, "downloadLocation": "NOASSERTION",
                             "filesAnalyzed": False, "licenseConcluded": "NOASSERTION",
                             "licenseDeclared": "NOASSERTION", "copyrightText": "NOASSERTION"}
                            | ({"comment": f"version {demanded}"} if demanded else {}))
            ends = (own, identifier(f"needed-{other}"))
            if kind == "OPTIONAL_DEPENDENCY_OF":
                ends = ends[::-1]
            relationships.append({"spdxElementId": ends[0], "relationshipType": kind, "relatedSpdxElement": ends[1]})
    return {
        "spdxVersion": "SPDX-2.3",
        "dataLicense": "CC0-1.0",
        "SPDXID": "SPDXRef-DOCUMENT",
        "name": f"{name}-{version}",
        "documentNamespace": f"urn:uuid:{uuid.uuid5(uuid.NAMESPACE_OID, f'{name} {version} {code} {seconds}')}",
        "creationInfo": {"created": f"{created:%Y-%m-%dT%H:%M:%SZ}", "creators": ["Tool: write_spdx.py"]},
        "packages": packages,
        "files": files,
        "relationships": relationships,
    }


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("name")
    parser.add_argument("version")
    parser.add_argument("license", type=pathlib.Path)
    parser.add_argument("output", type=pathlib.Path)
    parser.add_argument("--needs", default="")
    parser.add_argument("--recommends", default="")
    arguments = parser.parse_args()
    arguments.output.parent.mkdir(parents=True, exist_ok=True)
    relations = {"DEPENDS_ON": arguments.needs, "OPTIONAL_DEPENDENCY_OF": arguments.recommends}
    content = document(arguments.folder, arguments.name, arguments.version, arguments.license.read_text(),
                       arguments.output, relations)
    arguments.output.write_text(json.dumps(content, indent=1) + "\n")


if __name__ == "__main__":
    main()
