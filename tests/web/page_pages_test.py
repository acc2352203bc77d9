"""Paging, sorting and the bars of the page, in a real browser."""
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import Select

from page import PageTest, browser, harness
from served import csv


class Pages(PageTest):
    FILES = {
        "ftp.csv": csv("ftp.csv", [f"1700000000,{1700000000 + n},10.20.1.5,172.16.1.11,40000,21,"
                                   f"00-16-3e-00-00-05,RETR,anna,file-{n:02}" for n in range(1, 46)]),
        "malicious_events.csv": csv("malicious_events.csv", [
            f"170000{n:04},10.20.1.5,10.20.0.{n % 41},40000,53,udp,dns,00-16-3e-00-00-05,1,4,host-{n % 41:02}"
            for n in range(123)]),
        "reset_sessions.csv": csv("reset_sessions.csv", [
            f"1700000000,10.20.1.5,10.0.0.{n},40000,80,http,http,200,,,,1,2,3,name-{n:02}"
            for n in range(1, 26) for _ in range(n)]),
    }

    def where(self):
        return self.text("#where")

    def enabled(self):
        return [b.get_attribute("data-to") for b in browser.find_elements(By.CSS_SELECTOR, "#paging button")
                if b.is_enabled()]

    def test_pages_of_a_log(self):
        self.open("#ftplog?limit=10")
        names = [f"file-{n:02}" for n in range(45, 0, -1)]
        self.assertEqual((self.where(), self.enabled()), ("page 1 of 5", ["next", "last"]))
        self.assertEqual(self.column("name"), names[:10])
        self.click("[data-to=next]")
        self.assertEqual(self.place(), "#ftplog?page=2&limit=10")
        self.assertEqual((self.where(), self.enabled()), ("page 2 of 5", ["first", "previous", "next", "last"]))
        self.assertEqual(self.column("name"), names[10:20])
        self.click("[data-to=last]")
        self.assertEqual((self.where(), self.enabled()), ("page 5 of 5", ["first", "previous"]))
        self.assertEqual(self.column("name"), names[40:])
        self.assertEqual(self.text("#state"), "Rows: 5 of 45")
        self.click("[data-to=previous]")
        self.assertEqual(self.column("name"), names[30:40])
        browser.refresh()
        self.settle()
        self.assertEqual(self.where(), "page 4 of 5")
        self.click("[data-to=first]")
        self.assertEqual(self.where(), "page 1 of 5")
        browser.back()
        self.settle()
        self.assertEqual(self.where(), "page 4 of 5")
        Select(self.find("#size")).select_by_value("50")
        self.settle()
        self.assertEqual((self.where(), self.column("name")), ("page 1 of 1", names))
        self.expect_quiet()

    def test_pages_with_a_short_first_one(self):
        self.open("#malclog-host?limit=20")
        self.assertEqual((self.where(), self.text("#state")), ("page 1 of 3", "Rows: 19 of 41"))
        seen = self.column("host")
        for state in ("Rows: 20 of 41", "Rows: 2 of 41"):
            self.click("[data-to=next]")
            self.assertEqual(self.text("#state"), state)
            seen += self.column("host")
        self.assertEqual(sorted(seen), [f"host-{n:02}" for n in range(41)])
        self.assertEqual(self.enabled(), ["first", "previous"])
        # The bars have their ten nevertheless.
        self.assertEqual(len(self.bars()), 10)

    def test_pages_by_row(self):
        self.open("#tcpreset-listip?row=1-10")
        self.assertEqual((self.where(), self.column("ip")[0]), ("page 1 of 3", "10.0.0.1"))
        self.click("[data-to=last]")
        self.assertEqual(self.place(), "#tcpreset-listip?row=21-30")
        self.assertEqual(self.column("ip"), [f"10.0.0.{n}" for n in range(21, 26)])
        self.assertEqual(self.enabled(), ["first", "previous"])

    def test_pages_of_unknown_number(self):
        self.open("#assetsobj2-list?page=1&limit=1")
        self.assertEqual((self.where(), self.enabled()), ("page 1", ["next"]))
        self.click("[data-to=next]")
        self.assertEqual((self.where(), self.column("name")), ("page 2", ["file-store"]))

    def test_a_listing_without_pages_has_no_buttons(self):
        self.open("#malclog-table")
        self.assertFalse(self.find("#paging").is_displayed())

    def test_sorting_by_the_command_s_words(self):
        for listing, key, largest, smallest, names in (
                ("tcpreset-listip", "ip", "asc", "desc", [f"10.0.0.{n}" for n in range(1, 26)]),
                ("tcpreset-listdns", "dns", "desc", "asc", [f"name-{n:02}" for n in range(1, 26)])):
            with self.subTest(listing):
                self.open(f"#{listing}?row=11-20")
                self.assertIsNone(self.find("th:nth-child(2)").get_attribute("aria-sort"))
                self.click("[data-sort=flowcnt]")
                self.assertEqual(self.place(), f"#{listing}?sort=flowcnt&order={largest}&row=1-10")
                self.assertEqual(self.column(key), names[:-11:-1])
                self.assertEqual(self.find("th:nth-child(2)").get_attribute("aria-sort"), "descending")
                self.click("[data-to=next]")
                self.assertEqual(self.column(key), names[-11:-21:-1])
                self.click("[data-sort=flowcnt]")
                self.assertEqual(self.place(), f"#{listing}?sort=flowcnt&order={smallest}&row=1-10")
                self.assertEqual(self.column(key), names[:10])
                self.assertEqual(self.find("th:nth-child(2)").get_attribute("aria-sort"), "ascending")
                self.expect_quiet()

    def test_only_the_command_s_columns_sort(self):
        def sortable():
            return [b.get_attribute("data-sort") for b in browser.find_elements(By.CSS_SELECTOR, "th button")]
        self.open("#tcpreset-listip")
        self.assertEqual(sortable(), ["flowcnt", "http", "https", "maxtime", "mintime"])
        self.open("#tcpreset-listdns")
        self.assertEqual(sortable(), ["flowcnt", "http", "https", "maxtime", "mintime",
                                      "http20x", "http30x", "http40x", "http50x"])
        self.open("#ftplog")
        self.assertEqual(sortable(), [])

    def test_the_bars_show_the_top_whatever_the_table_shows(self):
        self.open("#tcpreset-listip?sort=flowcnt&order=desc&row=1-10")
        bars = self.bars()
        self.assertEqual([bar[:2] for bar in bars], [[f"10.0.0.{n}", str(n)] for n in range(25, 15, -1)])
        self.assertEqual([bar[2] for bar in bars[:3]], ["100%", "96%", "92%"])
        self.assertEqual(self.text("#chart-title"), "Top 10 by flowcnt")
        widths = browser.execute_script(
            "return [...document.querySelectorAll('#bars i')].map((i) => i.getBoundingClientRect().width)")
        self.assertAlmostEqual(widths[5] / widths[0], 20 / 25, places=2)


if __name__ == "__main__":
    harness.main()
