"""Every listing of records, from the data of tests/simulated/data, to the byte."""
import os

import harness

CLOCK = "2023-11-14/22:13:"  # 1700000000 is :20, UTC


class ResetSessions(harness.SimulatedTest):
    OPTIONS = ("--batch", "3")

    def test_by_destination(self):
        self.expect(
            "tcpreset listip",
            '{"data":[{"ip":"93.184.216.34","flowcnt":2,"http":1,"https":"1",'
            '"maxtime":1700000060, "mintime":1700000000,"port":"80,443"},'
            '{"ip":"198.51.100.9","flowcnt":2,"http":1,"https":"0",'
            '"maxtime":1700000090, "mintime":1700000030,"port":"80,873"}],"total":2}')

    def test_by_source(self):
        self.expect(
            "tcpreset listip type=src sort=flowcnt order=asc",
            '{"data":[{"ip":"10.20.1.5","flowcnt":3,"http":2,"https":"1",'
            '"maxtime":1700000090, "mintime":1700000000,'
            '"app":"http|Web browsing,https|Secure web"},'
            '{"ip":"10.20.2.7","flowcnt":1,"http":0,"https":"0",'
            '"maxtime":1700000030, "mintime":1700000030,"app":"backup|Nightly backup"}],"total":2}')

    def test_by_name(self):
        self.expect(
            "tcpreset listdns sort=http40x order=desc",
            '{"data":[{"dns":"www.example.com","flowcnt":2,"http":1,"https":"1",'
            '"maxtime":1700000060, "mintime":1700000000,'
            '"http20x":0,"http30x":0,"http40x":1,"http50x":0,"port":"80,443"},'
            '{"dns":"files.example.net","flowcnt":1,"http":1,"https":"0",'
            '"maxtime":1700000090, "mintime":1700000090,'
            '"http20x":1,"http30x":0,"http40x":0,"http50x":0,"port":"80"}],"total":2}')

    def test_plain(self):
        # The dictionary comes with the first batch and serves the second one too.
        self.expect(
            "tcpreset list",
            "1700000000 2023-11-14/22:13:20 http Web browsing 169083141 40000 1572395042 80"
            " 0.42 7.25 40.96 10 207 2 www.example.com|404\n"
            "1700000060 2023-11-14/22:14:20 https Secure web 169083141 40001 1572395042 443"
            " 1.05 0 0 0 0 1 www.example.com\n"
            "1700000030 2023-11-14/22:13:50 backup Nightly backup 169083399 40002 3325256713 873"
            " 0 0 12.80 3 4 5 NULL\n"
            "1700000090 2023-11-14/22:14:50 http Web browsing 169083141 40003 3325256713 80"
            " 0 0.10 0 1 2 3 files.example.net|200\n")


class MaliciousEvents(harness.SimulatedTest):
    OPTIONS = ("--batch", "2")
    BY_NAME = ('{"cnt":1, "id":0, "name":"azorult", "cname":"%s"},'
               '{"cnt":2, "id":0, "name":"fareit", "cname":"%s"}')
    SINKHOLE = '{"cnt":1, "id":9, "name":"sinkhole", "cname":"沉洞"}'

    def test_by_destination(self):
        self.expect(
            "malclog list listtype=dst page=1 limit=10",
            '{"data":[{"ip":"10.20.0.53","cnt":2,"ip_desc":"","list":['
            + self.BY_NAME % ("NULL", "NULL") +
            ']},{"ip":"203.0.113.8","cnt":1,"ip_desc":"","list":['
            + self.SINKHOLE + ']}],"count":2}')

    def test_by_source(self):
        self.expect(
            "malclog list listtype=src",
            '{"data":[{"ip":"10.20.1.5","cnt":2,"ip_desc":"front-desk","list":['
            + self.BY_NAME % ("NULL", "NULL") +
            ']},{"ip":"10.20.2.7","cnt":1,"ip_desc":"second-floor","list":['
            + self.SINKHOLE + ']}],"count":2}')

    def test_by_application(self):
        self.expect(
            "malclog list listtype=app",
            '{"data":[{"apid":3,"appname":"dns","appcname":"Name service","count":2,"list":['
            + self.BY_NAME % ("(null)", "(null)") +
            ']},{"apid":2,"appname":"https","appcname":"Secure web","count":1,"list":['
            + self.SINKHOLE + ']}],"count":2}')

    def test_by_signature(self):
        self.expect(
            "malclog list listtype=table",
            '{"data":[{"tid":1002,"mode":1,"vid":21,"type":1,"name":"fareit","cnt":2},'
            '{"tid":1001,"mode":1,"vid":21,"type":1,"name":"azorult","cnt":1},'
            '{"id":9,"tid":0,"vid":0,"type":0,"mode":2,"name":"sinkhole","cname":"沉洞","cnt":2}'
            '],"count":3}')

    def test_by_host(self):
        self.expect(
            "malclog list listtype=host",
            '{"data":[{"host":"bad.example.org","cnt":2,"list":['
            '{"cnt":1, "name":"azorult", "mkmode":1, "cname":"NULL"},'
            '{"cnt":2, "name":"fareit", "mkmode":1, "cname":"NULL"}]}],"count":1}')

    def test_one_by_one(self):
        azorult = '{"tid":1001,"type":1,"name":"azorult","mkmode":1,"cnt":1}'
        fareit = '{"tid":1002,"type":1,"name":"fareit","mkmode":1,"cnt":1}'
        dns = ('"src_ip":"10.20.1.5","src_port":%d,"dst_ip":"10.20.0.53","dst_port":53,'
               '"apid":3,"appname":"dns","appcname":"Name service","mac":"00-16-3e-00-00-05",'
               '"req_time":"2023-11-14/22:13:%d","time":%d,"proto":17,"bitmap":%d,'
               '"host":"bad.example.org","srcip_desc":"front-desk","dstip_desc":"","sign":"%d",'
               '"ipmac_desc":"laptop-anna","src_sign":"0","dst_sign":"0","dns_sign":"1",'
               '"uri_sign":"%d"}')
        self.expect(
            "malclog list listtype=detail",
            '{"data":[{"list":[' + fareit + '],' + dns % (40000, 20, 1700000000, 2, 4, 0) +
            ',{"list":[{"id":9,"type":0,"name":"sinkhole","cname":"沉洞","mkmode":2,"cnt":1}],'
            '"src_ip":"10.20.2.7","src_port":40001,"dst_ip":"203.0.113.8","dst_port":443,'
            '"apid":2,"appname":"https","appcname":"Secure web","mac":"00-16-3e-00-00-07",'
            '"req_time":"2023-11-14/22:13:21","time":1700000001,"proto":6,"bitmap":12,"host":"",'
            '"srcip_desc":"second-floor","dstip_desc":"","sign":"2","ipmac_desc":"",'
            '"src_sign":"0","dst_sign":"1","dns_sign":"0","uri_sign":"0"}'
            ',{"list":[' + azorult + ',' + fareit + '],' +
            dns % (40002, 22, 1700000002, 3, 12, 1) + '], "count":3}')

    def test_filters(self):
        result = self.appliance.run("malclog", "list", "listtype=detail", "src=10.20.2.7")
        self.assertTrue(result.out.endswith(b'], "count":1}'))
        self.expect("malclog list listtype=dst type=dns tid=1001", '{"data":[' + (
            '{"ip":"10.20.0.53","cnt":2,"ip_desc":"","list":[{"cnt":2, "id":0, "name":"azorult",'
            ' "cname":"NULL"}]},{"ip":"203.0.113.8","cnt":1,"ip_desc":"","list":[{"cnt":1, "id":0,'
            ' "name":"azorult", "cname":"NULL"}]}') + '],"count":2}')  # slot 0 filters nothing


class SessionLogs(harness.SimulatedTest):
    OPTIONS = ("--batch", "1")
    FTP = ('{"src_ip":"10.20.1.5","src_port":40000,"dst_ip":"172.16.1.11","dst_port":21,'
           '"mac":"00-16-3e-00-00-05","start":1700000000,"req_time":"' + CLOCK + '%d",'
           '"time":%d,"srcip_desc":"front-desk","dstip_desc":"file-store",'
           '"ipmac_desc":"laptop-anna","user":"anna","optype":"%s","name":"%s"}')
    TELNET = ('{"src_ip":"10.20.2.7","src_port":40010,"dst_ip":"172.16.1.11","dst_port":23,'
              '"mac":"00-16-3e-00-00-07","start":1700000000,"req_time":"' + CLOCK + '%d",'
              '"time":%d,"srcip_desc":"second-floor","dstip_desc":"file-store",'
              '"ipmac_desc":"","user":"bo","cmd":"%s"}')
    MAIL = [
        b'{"src_ip":"10.20.2.7","src_port":40001,"dst_ip":"10.20.0.25","dst_port":25,"apid":8,'
        b'"appname":"Mail transfer","mac":"00-00-00-00-00-00",'
        b'"req_time":"2023-11-14/22:15:00","time":1700000100,"srcip_desc":"second-floor",'
        b'"dstip_desc":"","ipmac_desc":"","from":"\xcd\xf5\xb7\xbc<wang.fang@korvale.example>",'
        b'"to":"anna@korvale.example","cc":"","subject":"\xc4\xe3\xba\xc3","tolen":20,"file":""}',
        b'{"src_ip":"10.20.1.5","src_port":40000,"dst_ip":"10.20.0.25","dst_port":25,"apid":8,'
        b'"appname":"Mail transfer","mac":"00-16-3e-00-00-05",'
        b'"req_time":"2023-11-14/22:13:20","time":1700000000,"srcip_desc":"front-desk",'
        b'"dstip_desc":"","ipmac_desc":"laptop-anna","from":"AnnaBell<anna@korvale.example>",'
        b'"to":"bo@korvale.example","cc":"","subject":"Re:","tolen":18,"file":"plan.xls"}']

    def download(self, *words):
        """Runs a download; returns the bytes of the file that it names."""
        result = self.appliance.run(*words)
        self.assertRegex(result.out, rb"^\d{14}\.csv\n$")
        self.assertEqual(result.status, 0)
        path = os.path.join(self.appliance.root, "usr/qsvlog", result.out.decode().strip())
        with open(path, "rb") as file:
            return file.read()

    def test_mail(self):
        self.expect("emaillog list", b'{"data":[' + b",".join(self.MAIL) + b'],"count":2}')
        self.expect("emaillog list limit=1 page=2", b'{"data":[' + self.MAIL[1] + b'],"count":2}')
        self.expect("emaillog list ip=10.20.1.5", b'{"data":[' + self.MAIL[1] + b'],"count":1}')
        self.expect("emaillog list mac=00-16-3e-00-00-05",
                    b'{"data":[' + self.MAIL[1] + b'],"count":1}')
        self.expect("emaillog list keywd=plan", b'{"data":[' + self.MAIL[1] + b'],"count":1}')

    def test_mail_download(self):
        head = "源地址,源端口,目标地址,目标端口,访问时间,应用协议,源MAC,发件人,收件人,抄送,主题,附近"
        self.assertEqual(
            self.download("emaillog", "list", "download=1"),
            b"\n" + head.encode("gbk") +
            b"\n10.20.2.7,16796,10.20.0.25,6400,2023-11-14/22:15:00,Mail transfer,"
            b"00-00-00-00-00-00,\xcd\xf5\xb7\xbc<wang.fang@korvale.example>,"
            b"anna@korvale.example,,\xc4\xe3\xba\xc3,"
            b"\n10.20.1.5,16540,10.20.0.25,6400,2023-11-14/22:13:20,Mail transfer,"
            b"00-16-3e-00-00-05,AnnaBell<anna@korvale.example>,bo@korvale.example,,Re:,plan.xls")

    def test_ftp(self):
        rows = [self.FTP % (29, 1700000009, "RETR", "plan.xls"),
                self.FTP % (25, 1700000005, "USER", "anna")]
        self.expect("ftplog list", '{"data":[' + ",".join(rows) + '],"count":2}')
        self.expect("ftplog list page=2 limit=1", '{"data":[' + rows[1] + '],"count":2}')

    def test_ftp_download(self):
        row = "\n10.20.1.5,40000,172.16.1.11,21,00-16-3e-00-00-05,2023-11-14/22:13:20,"
        self.assertEqual(
            self.download("ftplog", "list", "download=1").decode(),
            "\n源地址,源端口,目标地址,目标端口,源MAC,连接时间,操作时间,用户名,操作类型,对象名称"
            + row + CLOCK + "29,anna,RETR,plan.xls" + row + CLOCK + "25,anna,USER,anna")

    def test_telnet(self):
        rows = [self.TELNET % (40, 1700000020, "ls a\\\\b"), self.TELNET % (30, 1700000010, "ls")]
        self.expect("telnetlog list", '{"data":[' + ",".join(rows) + '],"count":2}')

    def test_telnet_download(self):
        row = "\n10.20.2.7,40010,172.16.1.11,23,00-16-3e-00-00-07,2023-11-14/22:13:20,"
        self.assertEqual(
            self.download("telnetlog", "list", "download=1").decode("gbk"),
            "\n源地址,源端口,目标地址,目标端口,源MAC,连接时间,操作时间,用户名,对象名称"
            + row + CLOCK + '40,bo,ls "a\\b' + row + CLOCK + "30,bo,ls")


if __name__ == "__main__":
    harness.main()
