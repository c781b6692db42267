"""What an SPDX list of a package has to say: every file with its digests, and nothing that is not there."""

import hashlib
import json


def check(test, path, folder):
    """Compares the list at a path with the files in a folder, apart from the list itself."""
    document = json.loads(path.read_text())
    test.assertEqual("SPDX-2.3", document["spdxVersion"])
    files = {file["fileName"]: {each["algorithm"]: each["checksumValue"] for each in file["checksums"]}
             for file in document["files"]}
    expected = {f"./{each.relative_to(folder)}": {kind: hashlib.new(kind, each.read_bytes()).hexdigest()
                                                  for kind in ("SHA1", "SHA256")}
                for each in folder.rglob("*") if each.is_file() and not each.is_symlink() and each != path}
    test.assertEqual(expected, files)
    elements = [element["SPDXID"] for kind in ("packages", "files") for element in document[kind]]
    test.assertEqual(len(elements), len(set(elements)))
    own = document["packages"][0]
    digests = sorted(file["SHA1"] for file in files.values())
    test.assertEqual(hashlib.sha1("".join(digests).encode()).hexdigest(),
                     own["packageVerificationCode"]["packageVerificationCodeValue"])
    named = {relation[end] for relation in document["relationships"] for end in ("spdxElementId", "relatedSpdxElement")}
    test.assertEqual(set(elements) | {"SPDXRef-DOCUMENT"}, named)
