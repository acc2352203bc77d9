"""The page when something fails, with the keyboard alone, on a narrow screen and with a slow daemon."""
from selenium import webdriver
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import WebDriverWait

from page import LISTINGS, PageTest, browser, harness


class Errors(PageTest):
    def test_an_error_of_the_program(self):
        self.open("#table-get?tid=99")
        self.assertEqual(self.problem(), "qsvmon ended with status 255: NO_TABLE")
        self.assertEqual(self.rows(), [])
        self.find("input[name=tid]").clear()
        self.find("input[name=tid]").send_keys("1")
        self.click("form button")
        self.assertEqual((self.problem(), self.column("entry")), ("", ["10.20.0.53"]))

    def test_what_the_server_refuses(self):
        for place, text in (("#ftplog?download=1", "a word that this listing does not have"),
                            ("#emaillog?keywd=a%20ip%3D1.2.3.4", "the value of keywd is not of its form"),
                            ("#ftplog?limit=0", "the value of limit is not of its form"),
                            ("#tcpreset-listip?sort=%3Cb%3E", "the value of sort is not of its form")):
            with self.subTest(place):
                self.open(place)
                self.assertEqual(self.problem(), "The server refuses: " + text)
                self.assertEqual(self.rows(), [])


class NoDaemon(PageTest):
    OPTIONS = ("--fault", "refuse")

    def test_an_error_of_every_listing(self):
        for listing in ("malclog-detail", "tcpreset-listip", "emaillog"):
            self.open("#" + listing)
            self.assertEqual(self.problem(),
                             "qsvmon ended with status 255: can't connect to ./usr/ramdisk/var/mgmt.d")


class Late(PageTest):
    OPTIONS = ("--fault", "error", "--fault-after", "1", "--batch", "1")

    def test_an_error_behind_the_first_rows(self):
        self.open("#malclog-detail")
        self.assertEqual(self.problem(), "qsvmon ended with status 255: DAEMON_BUSY")


class Slow(PageTest):
    OPTIONS = ("--fault", "late", "--fault-ms", "700")

    def test_an_answer_that_is_no_longer_wanted_changes_nothing(self):
        browser.get("about:blank")
        browser.get(self.served.address + "#ftplog")
        browser.execute_script("""
            window.said = [];
            new MutationObserver(() => window.said.push(document.getElementById("problem").textContent))
              .observe(document.getElementById("problem"), {childList: true, attributes: true});
            location.hash = "#telnetlog";""")
        self.settle()
        self.assertEqual((self.text("h2"), self.column("user")), ("Telnet commands", ["bo", "bo"]))
        self.assertEqual([text for text in browser.execute_script("return window.said") if text], [])
        self.assertEqual(self.problem(), "")


class Keyboard(PageTest):
    def press(self, *keys):
        for key in keys:
            webdriver.ActionChains(browser).send_keys(key).perform()

    def focused(self):
        return browser.execute_script("const e = document.activeElement; return e.id || e.textContent")

    def test_everything_is_reached_by_keys(self):
        self.open("#tcpreset-listip")
        self.press(Keys.TAB)
        self.assertEqual(self.focused(), "skip")
        self.press(Keys.ENTER)
        self.assertEqual((self.focused(), self.place()), ("main", "#tcpreset-listip"))
        seen = []
        for _ in range(20):
            self.press(Keys.TAB)
            seen.append(self.focused())
        self.assertIn("scroll", seen)
        for name in ("Show", "flowcnt", "mintime", "size"):
            self.assertIn(name, seen)

    def test_sorting_keeps_the_focus_on_its_column(self):
        self.open("#tcpreset-listip")
        browser.execute_script("document.querySelector('[data-sort=http]').focus()")
        self.press(Keys.ENTER)
        WebDriverWait(browser, 30).until(lambda _: "order=asc" in self.place())
        self.settle()
        self.assertEqual(self.focused(), "http ▼")
        self.press(Keys.SPACE)
        WebDriverWait(browser, 30).until(lambda _: "order=desc" in self.place())
        self.settle()
        self.assertEqual(self.focused(), "http ▲")

    def test_a_listing_opens_with_enter(self):
        self.open("")
        browser.execute_script("document.querySelector('[data-listing=ftplog]').focus()")
        self.press(Keys.ENTER)
        WebDriverWait(browser, 30).until(lambda _: self.place() == "#ftplog")
        self.settle()
        self.assertEqual(self.text("h2"), "FTP operations")
        # One link is the current one.
        self.assertEqual([a.text for a in browser.find_elements(By.CSS_SELECTOR, "nav a[aria-current]")],
                         ["FTP operations"])


class Narrow(PageTest):
    def test_no_listing_is_wider_than_the_screen(self):
        browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                                {"width": 320, "height": 640, "deviceScaleFactor": 1, "mobile": True})
        for listing in LISTINGS:
            with self.subTest(listing):
                self.open("#" + listing)
                wide = browser.execute_script(
                    "return [...document.querySelectorAll('body, main *')].filter((e) =>"
                    " e.getBoundingClientRect().right > 320.5).map((e) => e.localName)")
                self.assertEqual(wide, [])
                self.assertEqual(browser.execute_script("return document.documentElement.scrollWidth"), 320)
                # Each row is a card, apart from the next one.
                gaps = browser.execute_script(
                    "const tops = [...document.querySelectorAll('tbody tr')].map((e) => e.getBoundingClientRect());"
                    " return tops.slice(1).map((e, i) => e.top - tops[i].bottom)")
                self.assertTrue(all(gap > 4 for gap in gaps), gaps)
                # Each cell says its column, since the head of the table is not there.
                self.assertFalse(self.find("thead").is_displayed())
                self.assertRegex(browser.execute_script(
                    "return getComputedStyle(document.querySelector('td'), '::before').content"), r'^"[a-z]\w+"$')


if __name__ == "__main__":
    harness.main()
