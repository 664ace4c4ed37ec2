"""Prints the binary interface of shared libraries: what they need and export, and what their public headers lay out.

    interface.py LIBRARY...

Reads what abidw tells of libraries with debug information. Records have the offsets of their members in bytes, classes
the order of their virtual operations.
"""

import subprocess
import sys
import xml.etree.ElementTree as xml
from pathlib import Path

HEADERS = {path.name for folder in ("include", "helpers", "misc")
           for path in (Path(__file__).parents[1] / folder).glob("Orv*.h")}


class Library:
    def __init__(self, path: str) -> None:
        text = subprocess.run(["abidw", "--load-all-types", path], stdout=subprocess.PIPE, check=True).stdout
        self.root = xml.fromstring(text)
        self.types = {node.get("id"): node for node in self.root.iter() if node.get("id")}

    def name(self, identity: str) -> str:
        node = self.types[identity]
        of = node.get("type-id")
        if node.tag == "pointer-type-def":
            return self.name(of) + "*"
        if node.tag == "reference-type-def":
            return self.name(of) + "&"
        if node.tag == "qualified-type-def":
            return self.name(of) + "".join(f" {word}" for word in ("const", "volatile") if node.get(word))
        if node.tag == "array-type-def":
            return self.name(of) + "".join(f"[{range.get('length')}]" for range in node.iter("subrange"))
        return node.get("name")

    def prototype(self, function: xml.Element) -> str:
        arguments = [self.name(part.get("type-id")) for part in function.findall("parameter")
                     if not part.get("is-artificial")]
        return f"{self.name(function.find('return').get('type-id'))} ({', '.join(arguments)})"

    def symbols(self) -> list[str]:
        functions = {node.get("mangled-name") or node.get("name"): node for node in self.root.iter("function-decl")}
        exported = sorted((node.get("name"), node.get("version")) for node in self.root.iter("elf-symbol"))
        # Names of C++ tell their arguments.
        return [f"{name}@@{version}" + ("" if name.startswith("_Z") else f": {self.prototype(functions[name])}")
                for name, version in exported]

    @staticmethod
    def size(node: xml.Element) -> str:
        return f"{int(node.get('size-in-bits')) // 8} bytes"

    def record(self, node: xml.Element) -> list[str]:
        lines = [f"{int(member.get('layout-offset-in-bits', 0)) // 8} {member[0].get('name')}: "
                 f"{self.name(member[0].get('type-id'))}" for member in node.findall("data-member")]
        # Not every compiler tells the place of a destructor: it shows in those of the others.
        virtual = {(-1 if member.get("destructor") else int(member.get("vtable-offset")), member[0].get("name"),
                    self.prototype(member[0]))
                   for member in node.findall("member-function") if member.get("vtable-offset")}
        return lines + [f"virtual {f'{place} ' if place >= 0 else ''}{name}: {form}"
                        for place, name, form in sorted(virtual)]

    def layouts(self) -> dict[str, list[str]]:
        found: dict[str, list[str]] = {}
        for node in self.root.iter():
            if node.tag not in ("class-decl", "union-decl", "enum-decl") or not node.get("name").startswith(
                ("Orv", "_Orv", "tag")) or Path(node.get("filepath", "")).name not in HEADERS:
                continue
            if node.tag == "enum-decl":
                found[f"{node.get('name')}: {self.size(self.types[node.find('underlying-type').get('type-id')])}"] = [
                    f"{value.get('name')} = {int(value.get('value')):#x}" for value in node.findall("enumerator")]
            elif not node.get("is-declaration-only"):
                found[f"{node.get('name')}: {self.size(node)}"] = self.record(node)
        return found


def main() -> None:
    layouts: dict[str, list[str]] = {}
    for path in sys.argv[1:]:
        library = Library(path)
        print("\n    ".join([library.root.get("soname"), *library.symbols()]), end="\n\n")
        layouts.update(library.layouts())
    for head in sorted(layouts):
        print("\n    ".join([head, *layouts[head]]), end="\n\n")


main()
