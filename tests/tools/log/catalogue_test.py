#!/usr/bin/env python3
"""Holds the log's catalogue against the product's sources and against its page of the documents.

catalogue_test.py SOURCE TOOL...: TOOL is the command, maybe with an emulator in front."""
import pathlib
import re
import subprocess
import sys

NOT_THE_PRODUCT = {"tools", "tests", "bench", "build", "B", "examples", "client", "device", "stories",
                   "scripts", "docs", "cmake"}
LITERAL = r'"((?:[^"\\\n]|\\.)*)"'
# Calls whose text stands elsewhere in their file: which literals there are meant, and the message
# that each makes. "%" is a value.
INDIRECT = {
    'key + std::to_string(interval)': (r"[a-z_]+=", "{}%"),
    'line.data()': (r"[a-z ]+: %s", "{}"),
    'std::string(call.what) + " from domain " + HttpRequest::domain + ", status " + '
    'std::to_string(result)':
        (r"Get [a-z ]+", "{} from domain %, status %"),
    'text': (r"processes", '{{"{}":[%'),
}


def arguments_of_log(text):
    """What stands between the parentheses of each call."""
    for call in re.finditer(r"\bLog\(", text):
        depth, at, quoted = 1, call.end(), False
        while depth:
            if text[at] == '"' and text[at - 1] != "\\":
                quoted = not quoted
            depth += 0 if quoted else {"(": 1, ")": -1}.get(text[at], 0)
            at += 1
        yield re.sub(r"\s+", " ", text[call.end():at - 1])


def direct_message(argument):
    """`"a" + b + "c"` as "a%c"."""
    pieces = re.split(LITERAL, argument.replace("std::string(", "", 1))
    values = ["%" if piece.strip(" +)") else "" for piece in pieces[0::2]]
    return "".join(value + text for value, text in zip(values, pieces[1::2] + [""]))


def messages(text):
    for argument in arguments_of_log(text):
        if argument.startswith("std::string_view"):
            continue  # the definition
        if argument not in INDIRECT:
            yield direct_message(argument)
            continue
        wanted, message = INDIRECT[argument]
        for literal in re.findall(LITERAL, text):
            if re.fullmatch(wanted, literal):
                yield message.format(literal.replace("%s", "%"))


def written_by_the_product(source):
    files = [file for folder in source.iterdir()
             if folder.is_dir() and folder.name not in NOT_THE_PRODUCT and folder.name[0] != "."
             for file in folder.rglob("*.cpp")]
    return {message.replace('\\"', '"') for file in files for message in messages(file.read_text())}


def main(source, *tool):
    page = subprocess.run([*tool, "log", "--explain"], check=True, capture_output=True, text=True).stdout
    known = {re.sub(r"\{[a-z]+#?\}", "%", pattern) for pattern in re.findall(r"^## `(.*)`$", page, re.M)}
    written = written_by_the_product(pathlib.Path(source))
    for message in sorted(written - known):
        print("the catalogue does not know:", message)
    for message in sorted(known - written):
        print("the product does not write:", message)
    is_current = pathlib.Path(source, "docs/log-messages.md").read_text() == page
    if not is_current:
        print("make it anew: tolvar log --explain >docs/log-messages.md")
    print(len(written), "messages in the sources,", len(known), "in the catalogue")
    return 0 if written == known and is_current else 1


sys.exit(main(*sys.argv[1:]))
