"""The array's page, as somebody sees and uses it who works with a real browser."""
import re
import unittest

from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.select import Select

import stage
from stage import until

LOGIN_REFUSED = "LoginRefused 1090519041"


class PageTest(stage.BrowserTest):
    """What somebody does on the page, and sees there."""

    def setUp(self):
        super().setUp()
        self.browser.get_log("browser")
        self.open()

    def tearDown(self):
        self.assertEqual([], [entry["message"] for entry in self.browser.get_log("browser")])

    def open(self):
        self.browser.get(self.array.page + "/")
        until("the page hears the simulator", lambda: self.text("#connection") == "live" and self.text("#verdict"))

    def node(self):
        node = stage.Node(self.array)
        self.addCleanup(node.end)
        return node

    def all(self, selector):
        return self.browser.find_elements(By.CSS_SELECTOR, selector)

    def one(self, selector):
        return self.browser.find_element(By.CSS_SELECTOR, selector)

    def text(self, selector):
        return stage.calmly(lambda: self.one(selector).text)

    def texts(self, selector):
        return stage.calmly(lambda: [each.text for each in self.all(selector)])

    def boxes(self):
        """The names that the picture shows to those who hear it."""
        return self.browser.execute_script(
            "return [...document.querySelectorAll('.box')].map((box) => box.getAttribute('aria-label'))")

    def await_box(self, label):
        until(f"the picture shows {label}", lambda: label in self.boxes())

    def rows(self):
        return self.browser.execute_script("""
            return [...document.querySelectorAll("#entries tr")].filter((row) => !row.hidden)
                .map((row) => row.innerText);""")

    def switch(self, label):
        return next(each for each in self.all("[role=switch]") if each.text == label)

    def flip(self, label):
        """Presses a switch, and waits until it shows that the simulator did as it says."""
        before = self.switch(label).get_attribute("aria-checked")
        self.switch(label).click()
        until(f"switch {label}", lambda: stage.calmly(
            lambda: self.switch(label).get_attribute("aria-checked")) not in (before, None))

    def press(self, *keys):
        for key in keys:
            ActionChains(self.browser).send_keys(key).perform()

    def focused(self):
        """What has the keyboard: its words, and whether that is to be seen."""
        return self.browser.execute_script("""
            const element = document.activeElement;
            const marked = getComputedStyle(element.querySelector("rect") ?? element);
            return [element.getAttribute("aria-label") ?? element.textContent.trim(),
                marked.outlineStyle !== "none" || parseFloat(marked.strokeWidth) > 2];""")

    def tab_to(self, words):
        for _ in range(60):
            self.press(Keys.TAB)
            label, is_seen = self.focused()
            self.assertTrue(is_seen, f"the focus on {label} is not to be seen")
            if words in label:
                return
        self.fail(f"the tabulator key does not lead to {words}")

    # ---- the picture

    def test_preparing_a_node_draws_its_chain(self):
        self.assertIn("Nothing is mapped", self.text("#verdict"))
        node = self.node()
        done = node.init()
        self.assertEqual(0, done.returncode, done.stderr)
        objects = self.array.admin("GET", "objects")
        self.await_box(f"iSCSI initiator {node.IQN}")
        for kind, words in (("host", "host"), ("hostgroup", "host group"), ("mappingview", "mapping view")):
            self.assertEqual(1, len(objects[kind]))
            self.assertIn(objects[kind][0]["name"], done.stdout, "zavctl tells the same name")
            self.await_box(f"{words} {objects[kind][0]['name']}")
        self.assertEqual(4, len(self.all(".lines path")), "from initiator to LUN group")
        until("nothing is amiss", lambda: "All hangs together" in self.text("#verdict"))

    def test_what_is_amiss_is_told_in_words_and_gone_when_it_is_mended(self):
        group = self.array.make("hostgroup", "group-1")
        host = self.array.make("host", "host-1")
        self.await_box("host host-1: has no initiator, in no host group")
        self.assertIn("2 things are amiss", self.text("#verdict"))
        self.array.rest("POST", "host/associate",
                        {"TYPE": "14", "ID": group, "ASSOCIATEOBJTYPE": "21", "ASSOCIATEOBJID": host})
        self.await_box("host host-1: has no initiator")
        self.await_box("host group group-1: in no mapping view")

    def test_of_many_luns_some_are_shown_and_the_rest_counted(self):
        group = self.array.make("lungroup", "many")
        for lun in range(20):
            self.array.rest("POST", "lungroup/associate",
                            {"TYPE": "256", "ID": group, "ASSOCIATEOBJTYPE": "11", "ASSOCIATEOBJID": str(lun)})
        self.await_box(f"and 14 more in LUN group {group}")
        self.await_box("LUN LUN_000005")
        until("their sizes are told", lambda: re.search(r"GiB, pool 1", self.text("#picture")))

    def test_names_are_text_whatever_they_hold(self):
        name = "<img src=x onerror=alert(1)>"
        self.array.make("host", name)
        self.await_box(f"host {name}: has no initiator, in no host group")
        self.assertEqual([], self.all("#picture img"))

    # ---- the journal

    def test_a_request_is_followed_and_its_body_opened_without_secrets(self):
        self.assertEqual(0, self.node().init().returncode)
        until("the login is in the journal", lambda: any("sessions" in row for row in self.rows()))
        self.one("#filter").send_keys("sessions")
        until("the filter holds", lambda: all("sessions" in row for row in self.rows()))
        login = next(each for each in self.all("#entries .entry") if each.is_displayed() and "POST" in each.text)
        login.click()
        self.assertEqual("true", login.get_attribute("aria-expanded"))
        request, answer = self.texts("#entries .detail pre")
        self.assertIn('"username": "admin"', request)
        self.assertIn('"password": "***"', request)
        self.assertIn('"iBaseToken": "***"', answer)
        self.assertNotIn("zavsim-admin", self.browser.page_source)

    def test_only_changes_or_failures_are_shown_when_asked_for(self):
        self.array.make("host", "h")
        self.array.rest("GET", "host/77", is_refused=True)
        until("all have come", lambda: len(self.rows()) == 3)
        Select(self.one("#which")).select_by_value("changes")
        until("changes", lambda: len(self.rows()) == 2)
        Select(self.one("#which")).select_by_value("failures")
        until("failures", lambda: len(self.rows()) == 1)
        self.assertIn("HostGone 1077937498", self.rows()[0])
        self.assertEqual("1 of 3 requests", self.text("#journal-count"))

    def test_a_pause_holds_the_journal_and_misses_nothing(self):
        self.array.log_in()
        until("the login", lambda: len(self.rows()) == 1)
        self.one("#pause").click()
        self.array.rest("GET", "lun/count")
        until("it is counted", lambda: "1 since the pause" in self.text("#journal-count"))
        self.assertEqual(1, len(self.rows()))
        self.one("#pause").click()
        until("it is there", lambda: len(self.rows()) == 2)

    def test_what_came_before_the_page_is_there(self):
        self.browser.get("about:blank")

        def nobody_looks():
            self.array.rest("GET", "lun/count")
            return "answer" not in self.array.admin("GET", "journal?last=1")["entries"][0]
        until("the simulator sees that nobody looks", nobody_looks)
        self.open()
        until("its requests", lambda: len(self.rows()) >= 2)
        self.all("#entries .entry")[0].click()
        self.assertIn("It was not kept", self.text("#entries .detail"))

    def test_a_simulator_that_was_started_anew_begins_its_journal_anew(self):
        for _ in range(3):
            self.array.rest("GET", "lun/count")
        until("its requests", lambda: len(self.rows()) == 4)
        self.array.end()
        self.array.start()
        until("the page finds back", lambda: self.text("#connection") == "live")
        until("what was there is gone", lambda: stage.calmly(self.rows) == [])
        self.array.log_in()
        until("what comes is there", lambda: len(self.rows()) == 1)
        self.browser.get_log("browser")  # the browser tells of the connections that failed

    # ---- the switches

    def test_a_fault_that_is_flipped_acts_on_zavctl(self):
        node = self.node()
        self.flip("Refuse logins")
        self.assertIn("fault in force: code", self.text("#verdict"))
        refused = node.init()
        self.assertNotEqual(0, refused.returncode)
        self.assertIn("1090519041", refused.stderr + refused.stdout)
        until("the journal tells it", lambda: any(LOGIN_REFUSED in row and "fault code" in row for row in self.rows()))
        self.flip("Refuse logins")
        self.assertEqual([], self.array.admin("GET", "faults"))
        self.assertEqual(0, node.init().returncode)

    def test_any_other_fault_comes_from_the_form(self):
        self.one("summary").click()
        Select(self.one("#fault-form select")).select_by_value("status")
        self.one("#fault-form [name=status]").send_keys("502")
        self.one("#fault-form [name=target]").send_keys("lun/count")
        self.one("#fault-form .go").click()
        until("it is in force", lambda: "status 502" in self.text("#faults"))
        fault = self.array.admin("GET", "faults")[0]
        asked = {"kind": "status", "status": 502, "target": "lun/count", "count": 1}
        self.assertLessEqual(asked.items(), fault.items())
        self.one("#faults button").click()
        until("it is taken away", lambda: "No fault is in force" in self.text("#faults"))

    def test_a_fault_that_cannot_be_is_refused_in_words(self):
        self.one("summary").click()
        self.one("#fault-form [name=code]").send_keys("1")
        self.one("#fault-form [name=target]").send_keys("[")
        self.one("#fault-form .go").click()
        until("the reason is told", lambda: "is not a regular expression" in self.text("#trouble"))
        self.array.make("host", "h")
        self.await_box("host h: has no initiator, in no host group")
        self.assertIn("is not a regular expression", self.text("#trouble"), "what is asked meanwhile does not hide it")
        self.flip("Answer with HTTP status 503")
        self.assertFalse(self.one("#trouble").is_displayed(), "what succeeds does")
        self.browser.get_log("browser")  # the browser tells of each answer that refuses

    def test_a_narrower_fault_is_not_the_switch_s_own(self):
        fault = {"kind": "status", "status": 503, "count": 0}
        for narrower in ({"method": "PUT"}, {"skip": 3}):
            self.array.admin("POST", "faults", {**fault, **narrower})
        until("both are shown", lambda: len(self.all("#faults li")) == 2)
        self.assertEqual("false", self.switch("Answer with HTTP status 503").get_attribute("aria-checked"))
        self.flip("Answer with HTTP status 503")
        self.assertEqual(3, len(self.array.admin("GET", "faults")))

    def test_an_address_is_taken_down_and_put_up(self):
        other = self.array.page.replace(self.array.addresses[1], self.array.addresses[0])
        self.flip(other)
        self.assertIn(f"address {other}: down", self.text("#verdict"))
        self.flip(other)
        self.assertTrue(all(each["listening"] for each in self.array.admin("GET", "listeners")))

    def test_the_pages_own_address_is_not_taken_down_unasked(self):
        self.switch(self.array.page).click()
        until("the page asks", lambda: self.one("#confirm").is_displayed())
        self.assertIn("Once it is down", self.text("#confirm"))
        self.press(Keys.ESCAPE)
        self.assertTrue(all(each["listening"] for each in self.array.admin("GET", "listeners")))

    def test_the_last_address_is_not_taken_down_unasked(self):
        other = self.array.page.replace(self.array.addresses[1], self.array.addresses[0])
        self.flip(other)
        self.switch(self.array.page).click()
        until("the page asks", lambda: self.one("#confirm").is_displayed())
        self.assertIn("No other address listens", self.text("#confirm"))
        self.press(Keys.ESCAPE)

    def test_idle_times_go_on_whatever_is_asked(self):
        self.array.log_in()
        self.array.log_in()

        def idle_times():
            self.array.rest("GET", "lun/count")
            return self.texts("#sessions tbody td:last-child")
        until("the first session is idle", lambda: len(idle_times()) == 2 and idle_times()[0] != "0 s")

    def test_sessions_are_shown_and_ended(self):
        self.assertIn("Nobody is logged in", self.text("#sessions"))
        self.array.log_in()
        until("the session is shown", lambda: "admin" in self.text("#sessions"))
        self.one("#sessions button").click()
        self.one("#confirm-yes").click()
        until("it is gone", lambda: "Nobody is logged in" in self.text("#sessions"))
        self.assertEqual([], self.array.admin("GET", "sessions"))

    def test_an_fc_port_goes_online(self):
        self.array.rest("POST", "fc_initiator", {"ID": "2100000000000001", "TYPE": "223"})
        self.await_box("FC initiator 2100000000000001: on no host, offline")
        self.one(".box").click()
        until("it is told", lambda: "RUNNINGSTATUS" in self.text("#object"))
        self.flip("The array sees this port online")
        self.await_box("FC initiator 2100000000000001: on no host")

    # ---- for everybody

    def test_the_keyboard_alone_goes_along_the_chain_and_removes_an_object(self):
        self.assertEqual(0, self.node().init().returncode)
        objects = self.array.admin("GET", "objects")
        host, group = objects["host"][0]["name"], objects["hostgroup"][0]["name"]
        self.await_box(f"host group {group}")
        self.open()
        self.tab_to("iSCSI initiator")
        self.press(Keys.ARROW_RIGHT)
        self.assertEqual([f"host {host}", True], self.focused())
        self.press(Keys.ARROW_RIGHT, Keys.ENTER)
        until("its record is shown", lambda: group in self.text("#object"))
        self.assertEqual(f"host group {group}", self.focused()[0], "the focus stays")
        self.tab_to("Remove behind its clients")
        self.press(Keys.ENTER)
        until("the page asks", lambda: self.one("#confirm").is_displayed())
        self.tab_to("Remove")
        self.press(Keys.ENTER)
        until("it is gone", lambda: self.array.admin("GET", "objects")["hostgroup"] == [])
        self.await_box(f"host {host}: in no host group")

    def test_a_narrow_screen_shows_all_of_it(self):
        self.assertEqual(0, self.node().init().returncode)
        stage.show_as(self.browser, width=360, height=740)
        self.open()
        until("the picture", self.boxes)
        width, seen, places = self.browser.execute_script("""
            const places = [...document.querySelectorAll(".box")].map((box) => box.getBoundingClientRect());
            return [document.documentElement.scrollWidth, document.documentElement.clientWidth,
                places.map((place) => [place.left, place.right])];""")
        self.assertLessEqual(width, seen, "nothing lies beyond the edge")
        for left, right in places:
            self.assertTrue(0 <= left < right <= seen)

    def test_a_dark_screen_stays_dark_and_legible(self):
        self.array.make("host", "alone")
        self.await_box("host alone: has no initiator, in no host group")
        for dark in (False, True):
            stage.show_as(self.browser, dark=dark)
            self.assertEqual(dark, stage.luminance(self.browser, "body", "backgroundColor") < 0.1)
            for selector in ("h1", "#system", ".finding", "#verdict .bad", ".tools label", ".method.change", ".outcome",
                             "summary", "#pools .quiet"):
                self.assertGreaterEqual(stage.contrast(self.browser, selector), 4.5, f"{selector}, dark: {dark}")

    def test_nothing_moves_for_those_who_want_it_calm(self):
        stage.show_as(self.browser, calm=True)
        self.assertEqual("0s", self.browser.execute_script(
            "return getComputedStyle(document.querySelector('.knob')).transitionDuration"))

    def test_each_control_has_a_name(self):
        self.assertEqual(0, self.node().init().returncode)
        until("the picture", self.boxes)
        nameless = self.browser.execute_script("""
            return [...document.querySelectorAll("button, input, select, [tabindex='0']")].filter((each) =>
                !(each.labels?.length || each.getAttribute("aria-label") || each.textContent.trim() ||
                  each.getAttribute("aria-labelledby"))).map((each) => each.outerHTML);""")
        self.assertEqual([], nameless)

    def test_the_page_says_when_nobody_answers_and_finds_back(self):
        listeners = [{"url": self.array.page, "listening": False}, {"url": self.array.page, "listening": True}]
        other = stage.Remote(self.array, self.array.addresses[0])
        other.admin("POST", "listeners", listeners[0])
        until("the loss is told", lambda: self.text("#connection") == "not connected, trying again")
        other.admin("POST", "listeners", listeners[1])
        until("it is found again", lambda: self.text("#connection") == "live")
        self.browser.get_log("browser")  # the browser tells of the connections that failed


class PicturesTest(stage.BrowserTest):
    """The page in its states, as pictures to look at and for the manual."""

    def array_arguments(self):
        return ["--fc-online", "2100000000000002"]

    def take(self, state):
        for name, how in (("", {}), ("-dark", {"dark": True}), ("-narrow", {"width": 390, "height": 844})):
            stage.show_as(self.browser, **how)
            self.browser.get(self.array.page + "/")
            until("the page hears the simulator", lambda: self.browser.find_element(By.ID, "verdict").text)
            stage.settle(self.browser)
            if state == "busy":
                entries = self.browser.find_elements(By.CSS_SELECTOR, "#entries .entry")
                next(each for each in entries if "PUT" in each.text).click()
            stage.take_picture(self.browser, f"page-{state}{name}", **how)

    def test_empty(self):
        self.take("empty")

    def test_busy(self):
        stage.show_as(self.browser)
        self.browser.get(self.array.page + "/")  # so that answers are kept
        self.populate()
        self.take("busy")

    def test_broken(self):
        self.populate()
        objects = self.array.admin("GET", "objects")
        self.array.admin("DELETE", "objects/mappingview/" + objects["mappingview"][-1]["id"])
        self.array.admin("DELETE", "objects/hostgroup/" + objects["hostgroup"][0]["id"])
        self.array.admin("POST", "ports", {"wwn": "2100000000000002", "online": False})
        first = stage.Remote(self.array, self.array.addresses[0]).page
        self.array.admin("POST", "listeners", {"url": first, "listening": False})
        self.array.admin("POST", "faults", {"kind": "status", "status": 503, "count": 0, "target": "lun"})
        with self.assertRaises(OSError):
            self.array.rest("GET", "lun/count")
        self.array.rest("GET", "host/77", is_refused=True)
        self.take("broken")

    def populate(self):
        """A node that zavctl prepared, and an older one beside it with FC."""
        node = stage.Node(self.array)
        self.addCleanup(node.end)
        self.assertEqual(0, node.init().returncode)
        group = self.array.admin("GET", "objects")["lungroup"][0]["id"]
        self.give_luns(group, range(3))
        rest = self.array.rest
        host, second = self.array.make("host", "hv-04"), self.array.make("host", "hv-05")
        for name, owner in (("2100000000000001", host), ("2100000000000002", second)):
            self.array.admin("POST", "ports", {"wwn": name, "online": True})
            rest("POST", "fc_initiator", {"ID": name, "TYPE": "223"})
            rest("PUT", "fc_initiator/add_fc_to_host",
                 {"TYPE": "223", "ID": name, "PARENTTYPE": "21", "PARENTID": owner})
        hosts = self.array.make("hostgroup", "hv-cluster")
        for each in (host, second):
            rest("POST", "host/associate",
                 {"TYPE": "14", "ID": hosts, "ASSOCIATEOBJTYPE": "21", "ASSOCIATEOBJID": each})
        luns = self.array.make("lungroup", "hv-datastores")
        self.give_luns(luns, range(40, 60))
        view = self.array.make("mappingview", "hv-view")
        for kind, member in (("14", hosts), ("256", luns)):
            rest("PUT", "mappingview/CREATE_ASSOCIATE",
                 {"TYPE": "245", "ID": view, "ASSOCIATEOBJTYPE": kind, "ASSOCIATEOBJID": member})

    def give_luns(self, group, luns):
        for lun in luns:
            self.array.rest("POST", "lungroup/associate",
                            {"TYPE": "256", "ID": group, "ASSOCIATEOBJTYPE": "11", "ASSOCIATEOBJID": str(lun)})


if __name__ == "__main__":
    unittest.main()
