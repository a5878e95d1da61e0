import os
import signal
import subprocess
import sys
import unittest

import tarnvisor
from support import Case, exam, folder, still


class Steps(Case):
    def test_keep_their_state_within_a_session(self):
        with tarnvisor.Session(data=folder / "data") as session:
            session.run("subject A-1\nexam left")
            opened, _ = session.run([f"open {still}", 'command "Find Capillaries"'])
            self.assertEqual((opened["ok"], opened["width"], opened["height"]), (True, "1280", "1024"))
            session.run("save own.tv1")
            document = session.document()
            self.assertEqual((document.subject, document.site), ("A-1", "left"))
            self.assertEqual(tarnvisor.open_document(exam / "pulse.zz1").kind, "chart")
            self.assertEqual(session.document().path, document.path, "reading brings nothing to the front")
            session.run('command "Calculate average of selection"')
            self.assertEqual(session.table("Image Results").column("N").tolist(), [len(document.list(0))])
        self.assertTrue(session.closed)

    def test_that_fail_tell_words_file_and_line(self):
        script = self.write("study.txt", f"# a study\nopen {still}\nframe 3\nclose\n".encode())
        with self.assertRaises(tarnvisor.ScriptError) as raised:
            tarnvisor.run(script)
        error = raised.exception
        self.assertEqual((error.source, error.line, error.step), (str(script), 3, "frame 3"))
        self.assertEqual([result["ok"] for result in error.results], [True, False])
        results = tarnvisor.run(script, keep_going=True)
        self.assertEqual([result["ok"] for result in results], [True, False, False])
        self.assertIn("closed unsaved", results[1]["warnings"][0])

    def test_that_are_none_run_nothing(self):
        made = self.folder / "made.tv1"
        with self.assertRaisesRegex(tarnvisor.ScriptError, 'steps:3: unknown step "nonsense"') as raised:
            tarnvisor.run(f"open {still}\nsave {made}\nnonsense")
        self.assertEqual((raised.exception.line, made.exists()), (3, False))

    def test_end_at_a_signal_and_leave_the_session_in_order(self):
        def interrupt(*_):
            raise KeyboardInterrupt

        self.addCleanup(signal.signal, signal.SIGALRM, signal.signal(signal.SIGALRM, interrupt))
        with tarnvisor.Session() as session:
            session.run(f"open {exam / 'shake.dtv'}")
            signal.setitimer(signal.ITIMER_REAL, 0.02)
            with self.assertRaises(KeyboardInterrupt):
                session.run(['command "AMC without display"'] * 100000)
            self.assertIn("shake.dtv", session.run("print status")[0]["text"])


class Sessions(Case):
    def test_are_one_at_a_time(self):
        with tarnvisor.Session():
            with self.assertRaisesRegex(tarnvisor.Error, "open in this process already"):
                tarnvisor.Session()
        session = tarnvisor.Session()
        session.run("command Exit")
        session.close()
        with self.assertRaisesRegex(tarnvisor.Error, "closed"):
            session.run("print status")

    def test_leave_nothing_behind(self):
        profile = self.write("own.ini", b"[Settings]\nshowdb=0\n")
        before = set(os.listdir(folder)), subprocess.check_output("env"), os.getcwd()
        with tarnvisor.Session(profile=profile) as session:
            session.run([f"open {still}", "set Settings showdb 1", f"snapshot {self.folder}/still.png"])
        self.assertEqual(profile.read_bytes(), b"[Settings]\nshowdb=0\n")
        self.assertEqual(sorted(os.listdir(self.folder)), ["own.ini", "still.png"])
        self.assertEqual((set(os.listdir(folder)), subprocess.check_output("env"), os.getcwd()), before)

    def test_that_python_ends_with_go_and_print_nothing(self):
        before = set(os.listdir(folder))
        run = subprocess.run([sys.executable, "-c", "import tarnvisor; s = tarnvisor.Session(); s.run('print status', True)"],
                             capture_output=True, check=True)
        self.assertEqual((run.stdout, run.stderr, set(os.listdir(folder))), (b"", b"", before))


if __name__ == "__main__":
    unittest.main()
