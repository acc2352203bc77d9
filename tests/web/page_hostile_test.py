"""The page with texts that mean harm, with broken documents, and with the data of what a consumer must survive."""
from page import LISTINGS, PageTest, browser, harness
from served import csv

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
        for listing in LISTINGS:
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
