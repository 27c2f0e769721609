"""Runs what a page shows, and compares what is printed."""

import itertools
import re

NODE = re.compile(r"(ok|changed|fatal): \[node\d\]")


def normal(text):
    """Without what differs from run to run: ids and names that the array and chance give, where the template lies, how many tasks
    had nothing to do, and the order in which the nodes of a batch come to the end of a task."""
    text = re.sub(r"Vendrix_[\w-]{22}", "Vendrix_…", text)
    text = re.sub(r"\b(mapping view|host group|host|LUN group)(\s+)\d+", r"\1\2…", text)
    text = re.sub(r"^(\+\+\+ after: )\S*/", r"\1", text, flags=re.MULTILINE)
    text = re.sub(r"\b(ok|skipped)=\d+ *", r"\1=… ", text)
    told = []
    for line in text.strip().splitlines():
        if told and line.startswith(" ") and NODE.match(told[-1]):
            told[-1] += "\n" + line.rstrip()
        else:
            told.append(line.rstrip())
    sorted_told = []
    for is_of_node, lines in itertools.groupby(told, lambda line: bool(NODE.match(line))):
        sorted_told += sorted(lines) if is_of_node else lines
    return "\n".join(sorted_told) + "\n"


class Page:
    def __init__(self, path):
        parts = re.split(r"^## (.*)$", path.read_text(encoding="utf-8"), flags=re.MULTILINE)
        self.sections = dict(zip(parts[1::2], parts[2::2]))
        self.played = set()

    def lines(self, section):
        """The commands of its sh blocks, which are shown without what they print; but for the one that plays the page."""
        blocks = re.findall(r"^```sh\n(.*?)^```", self.sections[section], re.MULTILINE | re.DOTALL)
        return [line for block in blocks for line in block.splitlines() if line != "./dev fleet"]

    def commands(self, section):
        """What its console blocks show, as pairs of command and output."""
        for block in re.findall(r"^```console\n(.*?)^```", self.sections[section], re.MULTILINE | re.DOTALL):
            for part in re.split(r"^\$ ", block, flags=re.MULTILINE)[1:]:
                command, _, output = part.partition("\n")
                yield command, output

    def follow(self, section, run):
        """Runs the commands of its sh blocks, whatever they print."""
        self.played.add(section)
        for line in self.lines(section):
            run(line)

    def play(self, section, run):
        """Runs each command; the outputs. One that prints something else than is shown is an error that shows both."""
        self.played.add(section)
        outputs = []
        for command, shown in self.commands(section):
            printed = run(command)
            if normal(printed) != normal(shown):
                raise AssertionError(f"{section}: $ {command}\nis shown as\n{normal(shown)}and prints\n{normal(printed)}")
            outputs.append(printed)
        return outputs

    def unplayed(self):
        return [section for section in self.sections
                if section not in self.played and (any(self.commands(section)) or self.lines(section))]
