"""The example page in a real browser: Debian's Chromium, driven as a person would.

Needs chromium, chromium-driver and python3-selenium, so tools/check_web runs it and ./check does not.
"""
import shutil
import tempfile

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import Select, WebDriverWait

from served import Served, csv, data_folder, harness

# A fresh profile, and nothing that Chromium would fetch on its own.
OPTIONS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
           "--disable-background-networking", "--disable-component-update", "--disable-sync",
           "--disable-dev-shm-usage", "--window-size=1300,900"]
SHOWN = "return document.getElementById('main').dataset.shown === location.hash && " \
        "document.getElementById('rows').ariaBusy === 'false'"
HIT = ("azorult", "fareit × 2")
MAIL = ["10.20.0.25", "25", "8", "Mail transfer"]


def setUpModule():
    global browser, profile
    profile = tempfile.mkdtemp(prefix="qsvmon-web-")
    options = webdriver.ChromeOptions()
    options.binary_location = "/usr/bin/chromium"
    for option in [*OPTIONS, f"--user-data-dir={profile}"]:
        options.add_argument(option)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    browser = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)


def tearDownModule():
    browser.quit()
    shutil.rmtree(profile, ignore_errors=True)


class PageTest(harness.unittest.TestCase):
    maxDiff = None
    FILES = {}
    OPTIONS = ()
    DATA = None

    @classmethod
    def setUpClass(cls):
        folder = cls.DATA or str(data_folder(cls.FILES))
        cls.appliance = harness.Appliance(*cls.OPTIONS, data=folder)
        cls.addClassCleanup(cls.appliance.close)
        if not cls.DATA:
            shutil.rmtree(folder)
        cls.served = Served(harness.CLIENT, cls.appliance.root)
        cls.addClassCleanup(cls.served.close)

    def setUp(self):
        browser.execute_cdp_cmd("Emulation.clearDeviceMetricsOverride", {})
        browser.get("about:blank")
        browser.get_log("browser")

    def open(self, place):
        browser.get("about:blank")
        browser.get(self.served.address + place)
        self.settle()

    def settle(self):
        WebDriverWait(browser, 30).until(lambda b: b.execute_script(SHOWN))

    def find(self, selector):
        return browser.find_element(By.CSS_SELECTOR, selector)

    def click(self, selector):
        self.find(selector).click()
        self.settle()

    def place(self):
        return browser.execute_script("return location.hash")

    def columns(self):
        return browser.execute_script(
            "return [...document.querySelectorAll('thead th')].map((th) => th.textContent)")

    def rows(self):
        """The table's cells, a list of texts a row; entries of a list are joined by a slash."""
        return browser.execute_script(
            "return [...document.querySelectorAll('tbody tr')].map((tr) => [...tr.cells].map((td) =>"
            " td.querySelector('li') ? [...td.querySelectorAll('li')].map((li) => li.textContent).join('/')"
            " : td.textContent))")

    def column(self, name):
        at = [c.split(" ")[0] for c in self.columns()].index(name)
        return [row[at] for row in self.rows()]

    def text(self, selector):
        return browser.execute_script("return document.querySelector(arguments[0]).textContent", selector)

    def problem(self):
        """The text of the alert, empty when it is not shown."""
        alert = self.find("#problem")
        return alert.text if alert.is_displayed() else ""

    def bars(self):
        return browser.execute_script(
            "return document.getElementById('chart').hidden ? [] :"
            " [...document.querySelectorAll('#bars li')].map((li) =>"
            " [li.querySelector('span').textContent, li.querySelector('b').textContent,"
            " li.querySelector('i').style.width])")

    def expect_quiet(self):
        """Nothing on the console: no error, no refused script or style."""
        self.assertEqual([line["message"] for line in browser.get_log("browser")], [])


class Listings(PageTest):
    def expect(self, listing, title, rows, state, bars=()):
        with self.subTest(listing):
            self.open("#" + listing)
            self.assertEqual(self.problem(), "")
            self.assertEqual(self.text("h2"), title)
            self.assertEqual(browser.title, title + " - Traffic monitor")
            self.assertEqual(self.rows(), rows)
            self.assertEqual(self.text("#state"), state)
            self.assertEqual([bar[:2] for bar in self.bars()], [list(bar) for bar in bars])
            self.assertEqual(self.text("nav a[aria-current=page]"), title)
            self.expect_quiet()

    def test_reset_sessions(self):
        first, last = "2023-11-14 22:13:20 UTC", "2023-11-14 22:14:20 UTC"
        self.expect("tcpreset-listip", "Reset sessions by address",
                    [["93.184.216.34", "2", "1", "1", last, first, "80,443"],
                     ["198.51.100.9", "2", "1", "0", "2023-11-14 22:14:50 UTC", "2023-11-14 22:13:50 UTC",
                      "80,873"]],
                    "Rows: 2 of 2", [("93.184.216.34", "2"), ("198.51.100.9", "2")])
        self.expect("tcpreset-listip?type=src", "Reset sessions by address",
                    [["10.20.1.5", "3", "2", "1", "2023-11-14 22:14:50 UTC", first,
                      "http|Web browsing,https|Secure web"],
                     ["10.20.2.7", "1", "0", "0", "2023-11-14 22:13:50 UTC", "2023-11-14 22:13:50 UTC",
                      "backup|Nightly backup"]],
                    "Rows: 2 of 2", [("10.20.1.5", "3"), ("10.20.2.7", "1")])
        self.expect("tcpreset-listdns", "Reset sessions by name",
                    [["www.example.com", "2", "1", "1", last, first, "0", "0", "1", "0", "80,443"],
                     ["files.example.net", "1", "1", "0", "2023-11-14 22:14:50 UTC", "2023-11-14 22:14:50 UTC",
                      "1", "0", "0", "0", "80"]],
                    "Rows: 2 of 2", [("www.example.com", "2"), ("files.example.net", "1")])
        self.expect("tcpreset-list", "Every reset session", [
            [first, self.local(first), "http Web browsing", "10.20.1.5", "40000", "93.184.216.34", "80",
             "0.42", "7.25", "40.96", "10", "207", "2", "www.example.com|404"],
            [last, self.local(last), "https Secure web", "10.20.1.5", "40001", "93.184.216.34", "443",
             "1.05", "0", "0", "0", "0", "1", "www.example.com"],
            ["2023-11-14 22:13:50 UTC", "2023-11-14/22:13:50", "backup Nightly backup", "10.20.2.7", "40002",
             "198.51.100.9", "873", "0", "0", "12.8", "3", "4", "5", "NULL"],
            ["2023-11-14 22:14:50 UTC", "2023-11-14/22:14:50", "http Web browsing", "10.20.1.5", "40003",
             "198.51.100.9", "80", "0", "0.1", "0", "1", "2", "3", "files.example.net|200"]],
            "Lines: 4")

    @staticmethod
    def local(clock):
        """The program's local time, which is UTC here."""
        return clock.replace(" UTC", "").replace(" ", "/")

    def test_malicious_events(self):
        hits, hole = "/".join(HIT), "sinkhole (沉洞)"
        self.expect("malclog-dst", "Events by destination",
                    [["10.20.0.53", "2", "", hits], ["203.0.113.8", "1", "", hole]],
                    "Rows: 2 of 2", [("10.20.0.53", "2"), ("203.0.113.8", "1")])
        self.expect("malclog-src", "Events by source",
                    [["10.20.1.5", "2", "front-desk", hits], ["10.20.2.7", "1", "second-floor", hole]],
                    "Rows: 2 of 2", [("10.20.1.5", "2"), ("10.20.2.7", "1")])
        self.expect("malclog-app", "Events by application",
                    [["3", "dns", "Name service", "2", hits], ["2", "https", "Secure web", "1", hole]],
                    "Rows: 2 of 2", [("Name service", "2"), ("Secure web", "1")])
        self.expect("malclog-host", "Events by host name", [["bad.example.org", "2", hits]],
                    "Rows: 1 of 1", [("bad.example.org", "2")])
        # Two kinds of objects in one table: a signature has no id and no cname.
        self.expect("malclog-table", "Events by signature",
                    [["1002", "1", "21", "1", "fareit", "2", "", ""],
                     ["1001", "1", "21", "1", "azorult", "1", "", ""],
                     ["0", "2", "0", "0", "sinkhole", "2", "9", "沉洞"]],
                    "Rows: 3 of 3", [("fareit", "2"), ("沉洞", "2"), ("azorult", "1")])

    def test_events_in_detail(self):
        self.open("#malclog-detail")
        self.assertEqual(self.rows()[0], [
            "fareit", "10.20.1.5", "40000", "10.20.0.53", "53", "3", "dns", "Name service",
            "00-16-3e-00-00-05", "2023-11-14/22:13:20", "2023-11-14 22:13:20 UTC", "17", "2 (slots 1)",
            "bad.example.org", "front-desk", "", "4", "laptop-anna", "0", "0", "1", "0"])
        self.assertEqual(self.column("list"), ["fareit", "sinkhole (沉洞)", "azorult/fareit"])
        self.assertEqual(self.bars(), [])
        self.expect_quiet()

    def test_session_logs(self):
        self.expect("emaillog", "Mails", [
            ["10.20.2.7", "40001", *MAIL, "00-00-00-00-00-00", "2023-11-14/22:15:00", "2023-11-14 22:15:00 UTC",
             "second-floor", "", "", "王芳<wang.fang@korvale.example>", "anna@korvale.example", "", "你好", "20", ""],
            ["10.20.1.5", "40000", *MAIL, "00-16-3e-00-00-05", "2023-11-14/22:13:20", "2023-11-14 22:13:20 UTC",
             "front-desk", "", "laptop-anna", "AnnaBell<anna@korvale.example>", "bo@korvale.example", "", "Re:",
             "18", "plan.xls"]], "Rows: 2 of 2")
        login = ["10.20.1.5", "40000", "172.16.1.11", "21", "00-16-3e-00-00-05", "2023-11-14 22:13:20 UTC"]
        labels = ["front-desk", "file-store", "laptop-anna", "anna"]
        self.expect("ftplog", "FTP operations", [
            [*login, "2023-11-14/22:13:29", "2023-11-14 22:13:29 UTC", *labels, "RETR", "plan.xls"],
            [*login, "2023-11-14/22:13:25", "2023-11-14 22:13:25 UTC", *labels, "USER", "anna"]],
            "Rows: 2 of 2")
        login = ["10.20.2.7", "40010", "172.16.1.11", "23", "00-16-3e-00-00-07", "2023-11-14 22:13:20 UTC"]
        self.expect("telnetlog", "Telnet commands", [
            [*login, "2023-11-14/22:13:40", "2023-11-14 22:13:40 UTC", "second-floor", "file-store", "", "bo", "ls a\\b"],
            [*login, "2023-11-14/22:13:30", "2023-11-14 22:13:30 UTC", "second-floor", "file-store", "", "bo", "ls"]],
            "Rows: 2 of 2")

    def test_tables_and_assets(self):
        self.expect("table-get", "IP tables, log daemon", [["10.20.0.53", "name server"]], "Lines: 1")
        self.expect("qsviptable-get?tid=2", "IP tables, management daemon", [["91.240.118.172", "command host"]],
                    "Lines: 1")
        self.expect("assetsobj2-list", "Asset objects",
                    [["1", "1", "1", "web-front"], ["1", "2", "2", "file-store"]], "Lines: 2")

    def test_an_unknown_place_is_the_first_listing(self):
        for place in ("", "#", "#nothing", "#constructor?a=b", "#__proto__"):
            self.open(place)
            self.assertEqual(self.text("h2"), "Reset sessions by address")
        self.expect_quiet()

    def test_filters(self):
        self.open("#emaillog")
        # The browser's own way to send a form would ask the server for another page.
        browser.execute_script("addEventListener('submit', (e) => { window.prevented = e.defaultPrevented; })")
        for keyword, sources in (("你好", ["10.20.2.7", "10.20.1.5"]), ("好你", []), ("plan", ["10.20.1.5"])):
            self.find("input[name=keywd]").clear()
            self.find("input[name=keywd]").send_keys(keyword)
            self.click("form button")
            self.assertEqual(self.column("src_ip"), sources)
            self.assertEqual(self.find("input[name=keywd]").get_attribute("value"), keyword)
            self.assertIs(browser.execute_script("return window.prevented"), True)
        self.open("#tcpreset-listip")
        Select(self.find("select[name=type]")).select_by_value("src")
        self.find("input[name=filter]").send_keys("10.20.2.")
        self.click("form button")
        self.assertEqual(self.column("ip"), ["10.20.2.7"])
        self.assertEqual(self.bars(), [["10.20.2.7", "1", "100%"]])
        self.expect_quiet()

    def test_a_blank_in_a_field_is_not_sent(self):
        self.open("#emaillog")
        self.find("input[name=keywd]").send_keys("a ip=1.2.3.4")
        self.find("form button").click()
        self.assertEqual(self.place(), "#emaillog")
        self.assertTrue(browser.execute_script("return !document.querySelector('[name=keywd]').checkValidity()"))
        self.expect_quiet()

    def test_nothing_is_fetched_from_elsewhere(self):
        self.open("#tcpreset-listip")
        names = browser.execute_script("return performance.getEntriesByType('resource').map((e) => e.name)")
        self.assertGreater(len(names), 3)
        self.assertEqual([n for n in names if not n.startswith(self.served.address)], [])


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


EVIL = "<img src=x onerror=top.pwned=1>"
LABEL = "<svg/onload=top.pwned=1>"
SCRIPT = "<script>top.pwned=1</script>"


class Hostile(PageTest):
    FILES = {
        "malicious_events.csv": csv("malicious_events.csv", [
            f"1700000000,10.20.1.5,10.20.0.53,40000,53,udp,dns,00-16-3e-00-00-05,0,4,{EVIL}",
            f"1700000001,10.20.1.5,10.20.0.53,40000,53,udp,dns,00-16-3e-00-00-05,0 1 2 3 4 63,4,{SCRIPT}",
            "1700000002,10.20.1.5,10.20.0.53,40000,53,udp,dns,00-16-3e-00-00-05,1,4,evil\u202egro.elpmaxe",
            "1700000003,10.20.1.5,10.20.0.53,40000,53,udp,dns,00-16-3e-00-00-05,1,4,\x1b[2Jred",
            # One byte that is no UTF-8: a control character, not the euro sign of another table.
            "1700000004,10.20.1.5,10.20.0.53,40000,53,udp,dns,00-16-3e-00-00-05,1,4,\udc80byte"]),
        "reset_sessions.csv": csv("reset_sessions.csv", [
            f"1700000000,10.20.1.5,10.0.0.1,40000,80,http,http,200,,,,1,2,3,{SCRIPT[8:]}",
            '1700000000,10.20.1.5,10.0.0.1,40000,80,http,http,200,,,,1,2,3,"a"",""flowcnt"":9,""b"""']),
        "ftp.csv": csv("ftp.csv", [
            "1700000000,1700000005,10.20.1.5,172.16.1.11,40000,21,00-16-3e-00-00-05,USER,anna,"
            + SCRIPT,
            "1700000000,1700000006,10.20.1.5,172.16.1.11,40000,21,00-16-3e-00-00-05,RETR,javascript:top.pwned=1,"
            "C:\\new\\table"]),
        "telnet.csv": csv("telnet.csv", [
            '1700000000,1700000010,10.20.2.7,172.16.1.11,40010,23,00-16-3e-00-00-07,"b""o",ls']),
        "conf/korvale.conf": f"mac m=10.20.1.5 d={LABEL}\nmac m=00-16-3e-00-00-05 d=<b>bold</b>\n",
    }

    def untouched(self):
        """That no text became markup and no text of others ran."""
        self.assertIsNone(browser.execute_script("return window.pwned ?? null"))
        self.assertEqual(browser.execute_script(
            "return [...document.querySelectorAll('main :is(img, script, a, iframe, style, svg), table b')]"
            ".map((e) => e.outerHTML)"), [])
        self.assertEqual(browser.execute_script("return document.scripts.length"), 1)
        self.expect_quiet()

    def test_injected_markup_stays_text(self):
        self.open("#malclog-detail")
        self.assertEqual(self.column("host")[:2], [EVIL, SCRIPT])
        self.assertEqual(self.column("srcip_desc")[0], LABEL)
        self.assertEqual(self.column("ipmac_desc")[0], "<b>bold</b>")
        self.untouched()
        self.open("#malclog-host")
        self.assertEqual(self.problem(), "")
        self.assertIn(EVIL, self.column("host"))
        self.assertIn(SCRIPT, [bar[0] for bar in self.bars()])
        self.untouched()
        self.open("#ftplog")
        self.assertEqual([self.column("user"), self.column("name")],
                         [["javascript:top.pwned=1"[:23], "anna"], ["C:\\new\\table", SCRIPT]])
        self.untouched()

    def test_what_cannot_be_seen_is_shown(self):
        self.open("#malclog-detail")
        self.assertEqual(self.column("host")[2:], ["evil⟨202E⟩gro.elpmaxe", "␛[2Jred", "⟨0080⟩byte"])

    def test_a_bitmap_has_all_its_bits(self):
        self.open("#malclog-detail")
        self.assertEqual(self.column("bitmap")[1], "9223372036854775839 (slots 0, 1, 2, 3, 4, 63)")

    def test_a_broken_document_is_told_and_not_shown(self):
        for listing, row, member in (("tcpreset-listdns", 2, '"dns"'), ("telnetlog", 1, '"user"')):
            with self.subTest(listing):
                self.open("#" + listing)
                self.assertRegex(self.problem(), rf"^The answer is broken and not shown: .* at byte \d+, in row {row}\.")
                self.assertEqual((self.rows(), self.bars(), self.text("#state")), ([], [], ""))
                self.assertGreater(len(self.columns()), 5, member)
                self.expect_quiet()
        # The page goes on.
        self.open("#telnetlog")
        self.click("[data-listing=ftplog]")
        self.assertEqual((self.problem(), len(self.rows())), ("", 2))

    def test_scripts_of_others_do_not_run(self):
        self.open("#ftplog")
        tried = browser.execute_script("""
            const tried = [];
            for (const attempt of [() => { document.body.innerHTML = "<b>x</b>"; },
                                   () => { setTimeout("window.pwned = 1"); },
                                   () => { document.createElement("script").text = "window.pwned = 1"; }]) {
              try { attempt(); tried.push("done"); } catch (error) { tried.push(error.name); }
            }
            const image = document.createElement("img");
            image.setAttribute("src", "http://127.0.0.1:9/x");
            document.body.append(image);
            const inline = document.createElement("a");
            inline.setAttribute("href", "javascript:window.pwned=1");
            document.body.append(inline);
            inline.click();
            return tried;""")
        self.assertEqual(tried, ["TypeError", "TypeError", "TypeError"])
        self.assertIsNone(browser.execute_script("return window.pwned ?? null"))
        said = " ".join(line["message"] for line in browser.get_log("browser"))
        self.assertIn("Content Security Policy", said)


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
    LISTINGS = ["tcpreset-listip", "tcpreset-listdns", "tcpreset-list", "malclog-detail", "malclog-dst",
                "malclog-src", "malclog-app", "malclog-table", "malclog-host", "emaillog", "ftplog",
                "telnetlog", "table-get", "qsviptable-get", "assetsobj2-list"]

    def test_no_listing_is_wider_than_the_screen(self):
        browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                                {"width": 320, "height": 640, "deviceScaleFactor": 1, "mobile": True})
        for listing in self.LISTINGS:
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


class Nasty(PageTest):
    """Every listing of the data set of what a consumer must survive: shown, or told to be broken."""

    DATA = "nasty"
    BROKEN = {"tcpreset-listdns", "tcpreset-list", "malclog-app", "malclog-detail", "malclog-host",
              "emaillog", "ftplog", "telnetlog"}
    # So that all rows are on one page.
    ALL = {"tcpreset-listip": "?row=1-1000", "tcpreset-listdns": "?row=1-1000", "tcpreset-list": "",
           "malclog-table": "", "table-get": "", "qsviptable-get": "?tid=2", "assetsobj2-list": ""}

    def test_every_listing_is_shown_or_broken(self):
        broken = set()
        for listing in Narrow.LISTINGS:
            with self.subTest(listing):
                self.open("#" + listing + self.ALL.get(listing, "?limit=1000"))
                problem = self.problem()
                if problem:
                    self.assertRegex(problem, r"^The answer is broken and not shown: ")
                    self.assertEqual(self.rows(), [])
                    broken.add(listing)
                else:
                    self.assertGreater(len(self.rows()), 0)
                self.assertEqual(browser.execute_script("return document.scripts.length"), 1)
                self.assertEqual(browser.execute_script(
                    "return document.querySelectorAll('main :is(img, script, a, iframe)').length"), 0)
                self.expect_quiet()
        self.assertEqual(broken, self.BROKEN)


if __name__ == "__main__":
    harness.main()
