"""The docs as a site and as manual pages, as a reader has them without server and network."""
import json
import os
import pathlib
import subprocess
import sys

from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

import stage

TREE = pathlib.Path(__file__).resolve().parents[2]
SCREENS = (("", {}), ("-dark", {"dark": True}), ("-narrow", {"width": 390, "height": 844}))


class SiteTest(stage.ScreenTest):
    """The site lies in a folder, from which the browser reads it."""

    LOGS = ["browser", "performance"]

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        folder = stage.temporary_folder()
        cls.addClassCleanup(folder.cleanup)
        cls.site = pathlib.Path(folder.name)
        subprocess.run([sys.executable, "-B", TREE / "tools" / "site", cls.site], check=True)

    def setUp(self):
        super().setUp()
        self.browser.get((self.site / "index.html").as_uri())

    def tearDown(self):
        """Whatever a test did: nothing was amiss, and nobody was asked."""
        self.assertEqual([], self.browser.get_log("browser"))
        asked = [message["params"]["request"]["url"] for message in
                 (json.loads(entry["message"])["message"] for entry in self.browser.get_log("performance"))
                 if message["method"] == "Network.requestWillBeSent"]
        self.assertIn((self.site / "index.html").as_uri(), asked, "requests are seen")
        self.assertEqual([], [address for address in asked if not address.startswith("file:")])

    def find(self, selector):
        return self.browser.find_element(By.CSS_SELECTOR, selector)

    def look_at_the_page(self, width, where):
        self.assertEqual([], self.browser.execute_script(
            "return [...document.images].filter(each => each.naturalWidth === 0).map(each => each.src)"), where)
        self.assertLessEqual(self.browser.execute_script("return document.documentElement.scrollWidth"), width,
                             f"{where} is no wider than the screen")

    def test_first_page(self):
        self.assertEqual("libProductStorage", self.find("main h1").text)
        drawn = self.find("img[src$='docs/pictures/mapping.svg']")
        self.assertGreater(int(drawn.get_property("naturalWidth")), 0, "the drawing was loaded")
        for name, how in SCREENS:
            stage.show_as(self.browser, **how)
            self.browser.refresh()
            self.look_at_the_page(how.get("width", 1280), f"index.html{name}")
            for selector in ("main h1", "main p", "main a", "main code", "nav .home"):
                self.assertGreaterEqual(stage.contrast(self.browser, selector), 4.5, f"{selector}{name}")
            stage.take_picture(self.browser, f"site-first{name}", **how)

    def test_search(self):
        field = self.find("#search")
        self.find("body").send_keys("/")
        self.assertEqual(field, self.browser.switch_to.active_element)
        field.send_keys("watchdog")
        offered = self.browser.find_elements(By.CSS_SELECTOR, "#found a")
        self.assertIn("Watching a node", offered[0].text)
        for name, how in SCREENS:
            stage.show_as(self.browser, **how)
            for selector in ("#found b", "#found span", "#found mark"):
                self.assertGreaterEqual(stage.contrast(self.browser, selector), 4.5, f"{selector}{name}")
            self.browser.save_screenshot(str(stage.PICTURES / f"site-search{name}.png"))
        stage.show_as(self.browser)
        field.send_keys(Keys.ENTER)
        self.assertIn("/docs/monitoring.html", self.browser.current_url)
        self.assertIn("Watching a node", self.find("main h1").text)
        self.assertEqual(self.find("main h1").text, self.find("nav a[aria-current]").text)
        self.assertGreaterEqual(stage.contrast(self.browser, "nav a[aria-current]"), 4.5)

    def test_no_page_has_these_words(self):
        self.find("#search").send_keys("quuxly")
        self.assertEqual("nothing has these words", self.find("#found").text)
        self.find("#search").send_keys(Keys.ESCAPE)
        self.assertEqual("", self.find("#found").text)

    def test_each_page_stands_on_a_narrow_screen(self):
        stage.show_as(self.browser, width=390, height=844)
        pages = self.browser.execute_script("return [...document.querySelectorAll('nav .pages a')].map(each => each.href)")
        self.assertGreater(len(pages), 20)
        for address in pages:
            self.browser.get(address)
            self.look_at_the_page(390, address)
            self.assertTrue(self.find("main h1").text, address)
            gone = [link for link in self.browser.execute_script(
                "return [...document.links].map(each => each.href.split('#')[0])")
                if link.startswith("file:") and not pathlib.Path(link.removeprefix("file://")).is_file()]
            self.assertEqual([], gone, address)


class ManualTest(stage.ScreenTest):
    """The pages for man, in a terminal."""

    def test_pages(self):
        folder = stage.temporary_folder()
        self.addCleanup(folder.cleanup)
        pages = pathlib.Path(folder.name)
        subprocess.run([sys.executable, "-B", TREE / "tools" / "manual", stage.PROGRAMS.parent, pages], check=True)
        for name in ("zavctl.1", "zavctl-status.1", "backupnode.ini.5"):
            shown = subprocess.run(["groff", "-t", "-Kutf8", "-man", "-Tutf8", "-rLL=100n", "-rcR=1", "-ww", "-Wbreak",
                                    pages / name], env={**os.environ, "GROFF_SGR": "1"}, check=True,
                                   text=True, capture_output=True)
            self.assertEqual("", shown.stderr, name)
            self.assertIn("NAME", shown.stdout)
            self.assertNotIn("T{", shown.stdout, "tables are drawn")
            if name == "zavctl.1":
                self.assertRegex(shown.stdout, "│2 {1,9}│ the command line is wrong", "a short word has a narrow column")
            page = pages / "shown.html"
            page.write_text(stage.as_page(shown.stdout))
            self.browser.get(page.as_uri())
            stage.show_as(self.browser, height=200)
            stage.take_picture(self.browser, f"manual-{name}", width=920)
            self.assertLessEqual(self.browser.execute_script("return document.documentElement.scrollWidth"), 920, name)
