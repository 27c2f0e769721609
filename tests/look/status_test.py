"""How a node hangs on its array, as `zavctl status` shows it in a terminal and a browser, and the array's page beside it."""
import json
import os
import re
import shlex
import subprocess
import unittest

from selenium.webdriver.common.by import By

import stage
from stage import until

def shown_in_a_terminal(node, *words, columns=120):
    """What stands in a terminal of so many columns, with the sequences of its colours."""
    tmux = ["tmux", "-u", "-L", f"look-{os.getpid()}", "-f", "/dev/null"]
    command = shlex.join([str(node.zavctl), *words]) + " 2>/dev/null; tmux wait-for -S shown; read line"
    environment = {**node.settings, "LC_ALL": "C.UTF-8"}
    subprocess.run([*tmux, "new-session", "-d", "-x", str(columns), "-y", "50", command], env=environment, check=True)
    try:
        subprocess.run([*tmux, "wait-for", "shown"], check=True, timeout=60)
        return subprocess.run([*tmux, "capture-pane", "-e", "-p"], check=True, stdout=subprocess.PIPE, text=True).stdout.rstrip() + "\n"
    finally:
        subprocess.run([*tmux, "kill-server"], check=True)


class StatusTest(stage.BrowserTest):
    """A node that is prepared, one that drifted, one with another host in its group, and one whose place somebody else took;
    each leaves its pictures."""

    def setUp(self):
        super().setUp()
        self.node = stage.Node(self.array)
        self.addCleanup(self.node.end)
        self.assertEqual(0, self.node.init().returncode)
        rest = self.array.rest
        for lun in range(3):
            rest("POST", "lungroup/associate", {"TYPE": "256", "ID": self.only("lungroup"), "ASSOCIATEOBJTYPE": "11",
                                                "ASSOCIATEOBJID": str(lun)})

    def only(self, kind):
        return self.array.admin("GET", "objects")[kind][0]["id"]

    def status(self, output):
        return self.node.run("-q", "status", "--env", str(self.node.environment), "-o", output)

    def show_file(self, name, text):
        path = self.node.folder / name
        path.write_text(text)
        self.browser.get(f"file://{path}")

    def marks(self):
        return [each.text for each in self.browser.find_elements(By.CSS_SELECTOR, ".mark")]

    def is_to_be_seen(self, selector):
        """Marks are where something is wrong; all else is on each page, and its look fails without it."""
        return selector != ".mark" or bool(self.marks())

    def take(self, state, words):
        """Looks at the state in each form, in which each of `words` is told."""
        shown = shown_in_a_terminal(self.node, "-q", "status", "--env", str(self.node.environment))
        plain = re.sub(r"\x1b\[[0-9;]*m", "", shown)
        self.show_file("terminal.html", stage.as_page(shown))
        stage.show_as(self.browser, height=200)
        stage.take_picture(self.browser, f"status-{state}-terminal", width=1100)

        drawn = self.status("svg")
        self.show_file("status.svg", drawn.stdout)
        told = self.browser.execute_script("return document.documentElement.textContent")
        size = self.browser.execute_script(
            "const box = document.documentElement.getBoundingClientRect(); return [box.width, box.height].map(Math.ceil)")
        stage.show_as(self.browser, *size)
        self.browser.save_screenshot(str(stage.PICTURES / f"status-{state}-svg.png"))

        self.show_file("status.html", self.status("html").stdout)
        marks = self.marks()
        for name, how in (("", {}), ("-dark", {"dark": True}), ("-narrow", {"width": 390, "height": 844})):
            stage.show_as(self.browser, **{"width": 900, "height": 400, **how})
            stage.take_picture(self.browser, f"status-{state}-html{name}", **{"width": 900, **how})
            for selector in (".kind", ".name", ".mark"):
                if self.is_to_be_seen(selector):
                    self.assertGreaterEqual(stage.contrast(self.browser, selector), 4.5, f"{selector}{name}")
            self.assertLessEqual(self.browser.execute_script("return document.documentElement.scrollWidth"),
                                 how.get("width", 900), f"nothing is wider than the screen{name}")
        self.print_page(state)
        self.assertEqual([], self.browser.execute_script(
            "return performance.getEntriesByType('resource').map(each => each.name)"), "no address but its own")

        self.browser.get(self.array.page + "/")
        until("the page hears the simulator", lambda: self.browser.find_element(By.ID, "verdict").text)
        stage.show_as(self.browser)
        stage.settle(self.browser)
        stage.take_picture(self.browser, f"status-{state}-page")

        for each in words:
            self.assertIn(each, plain)
            self.assertIn(re.sub(r"\s", "", each), re.sub(r"\s", "", told), "the drawing breaks its lines")
            self.assertTrue(any(each in mark for mark in marks), f"{each} in {marks}")
        return plain

    def print_page(self, state):
        """Looks at the page as it lies on white paper, whatever the screen is."""
        for dark in (False, True):
            stage.show_on_paper(self.browser, dark=dark)
            for selector in ("h1", ".verdict", ".kind", ".name", ".detail", ".state", ".mark"):
                if self.is_to_be_seen(selector):
                    self.assertGreaterEqual(stage.contrast_on_white(self.browser, selector), 4.5, f"{selector} on paper")
            self.assertLessEqual(self.browser.execute_script("return document.documentElement.scrollWidth"), 794,
                                 "nothing is wider than the sheet")
        stage.show_on_paper(self.browser)
        stage.take_picture(self.browser, f"status-{state}-html-print", width=794)

    def test_prepared(self):
        plain = self.take("prepared", [])
        for each in ("missing", "foreign", "not recorded", "down"):
            self.assertNotIn(each, plain)
        self.assertEqual(0, self.status("json").returncode)

    def test_drifted(self):
        self.array.admin("DELETE", "objects/mappingview/" + self.only("mappingview"))
        self.take("drifted", ["missing: the array has none of this id"])
        self.assertEqual(10, self.status("json").returncode)

    def test_another_host(self):
        other = self.array.make("host", "hv-04")
        self.array.rest("POST", "host/associate", {"TYPE": "14", "ID": self.only("hostgroup"), "ASSOCIATEOBJTYPE": "21",
                                                   "ASSOCIATEOBJID": other})
        self.take("doubtful", ["not recorded: in this node's host group"])
        self.assertEqual(0, self.status("json").returncode, "it takes nothing from this node")

    def test_foreign_owner(self):
        other = self.array.make("host", "hv-04")
        rest = self.array.rest
        for verb in ("remove_iscsi_from_host", "add_iscsi_to_host"):
            rest("PUT", "iscsi_initiator/" + verb,
                 {"TYPE": "222", "PARENTTYPE": "21", "PARENTID": other, "ID": self.node.IQN})
        stranger = "iqn.2020-01.example:hypervisor-4"
        rest("POST", "iscsi_initiator", {"TYPE": "222", "ID": stranger})
        rest("PUT", "iscsi_initiator/add_iscsi_to_host",
             {"TYPE": "222", "PARENTTYPE": "21", "PARENTID": self.only("host"), "ID": stranger})
        self.take("foreign", [f"foreign: it is on host {other}, which is not this node's",
                              "foreign: it is on this node's host and not this node's"])
        told = self.status("json")
        self.assertEqual(10, told.returncode)
        self.assertFalse(json.loads(told.stdout)["prepared"])


if __name__ == "__main__":
    unittest.main()
