import gc
import os
import shutil
import threading

import numpy as np
import tarnvisor
from support import Case, exam, still


class Images(Case):
    def test_are_views_that_outlive_their_image(self):
        stored = np.frombuffer(still.read_bytes()[-1280 * 1024:], np.uint8).reshape(1024, 1280)  # top row first
        image = tarnvisor.read_image(still)
        pixels, again = image.pixels, image.pixels
        self.assertTrue(np.shares_memory(pixels, again))
        del image, again
        gc.collect()
        np.testing.assert_array_equal(pixels, stored)

    def test_of_files_can_not_be_written_to(self):
        pixels = tarnvisor.read_image(still).pixels
        with self.assertRaises(ValueError):
            pixels[0, 0] = 1
        with self.assertRaises(ValueError):
            pixels.setflags(write=True)

    def test_made_in_python_come_back_from_a_file_with_colours_and_scale(self):
        colours = np.arange(5 * 3 * 3, dtype=np.uint8).reshape(5, 3, 3)
        made = tarnvisor.Image(colours, scale=(0.5, 1.0))
        made.pixels[4, 2] = 255, 128, 0
        made.save(self.folder / "made.tif")
        back = tarnvisor.read_image(self.folder / "made.tif")
        self.assertEqual(back.pixels[4, 2].tolist(), [255, 128, 0])
        np.testing.assert_array_equal(back.pixels[:4], colours[:4])
        self.assertEqual((back.scale, back.aspect), ((0.5, 1.0), 2.0))
        self.assertEqual(colours[4, 2, 0], 42, "the array it was made of stays")

    def test_that_can_not_be_read_say_why(self):
        with self.assertRaises(FileNotFoundError):
            tarnvisor.read_image(self.folder / "none.bmp")
        with self.assertRaises(IsADirectoryError):
            tarnvisor.read_image(self.folder)
        with self.assertRaisesRegex(IndexError, "there is no page 1: there are 1"):
            tarnvisor.read_image(still, page=1)
        for name, content in ("cut.bmp", still.read_bytes()[:60]), ("text.png", b"no picture"), ("empty.tif", b""):
            with self.assertRaisesRegex(tarnvisor.Error, name):
                tarnvisor.read_image(self.write(name, content))
        for shape in (2, 2, 4), (7,), (0, 3):
            with self.assertRaises(ValueError):
                tarnvisor.Image(np.zeros(shape, np.uint8))


class Movies(Case):
    def test_tell_frames_and_times_of_their_document(self):
        with tarnvisor.open_movie(exam / "shake.dtv") as movie:
            self.assertEqual((len(movie), movie.fps, movie.shape), (120, 60.0, (480, 640)))
            self.assertAlmostEqual(movie.timestamps[-1], 119 / 60)
            np.testing.assert_array_equal(movie.frame(-1), movie[119])
            self.assertEqual(sum(1 for _ in movie), 120)
            for outside in 120, -121:
                with self.assertRaisesRegex(IndexError, "there are 120"):
                    movie.frame(outside)
            last = movie[-1]
        with self.assertRaisesRegex(ValueError, "closed"):
            movie.frame(0)
        self.assertEqual(last.shape, (480, 640))

    def test_raise_for_a_damaged_frame_alone(self):
        path = self.folder / "cut.mve"
        shutil.copy(exam / "flow.mve", path)
        movie = tarnvisor.open_movie(path)
        first = movie[0]
        os.truncate(path, path.stat().st_size // 2)
        with self.assertRaisesRegex(tarnvisor.Error, "image 119 of .* can't be read"):
            movie.frame(119)
        np.testing.assert_array_equal(movie[0], first)

    def test_that_are_none_are_refused(self):
        for path in still, exam / "pulse.zz1", self.write("text.avi", b"no video"), self.write("empty.mve", b""):
            with self.assertRaisesRegex(tarnvisor.Error, path.name):
                tarnvisor.open_movie(path)

    def test_give_frames_to_several_threads(self):
        movie = tarnvisor.open_movie(exam / "flow.dtv")
        expected = [frame.mean() for frame in movie]
        found = [[] for _ in range(3)]
        threads = [threading.Thread(target=lambda own=own: own.extend(movie[i].mean() for i in range(120))) for own in found]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(found, [expected] * 3)


class Documents(Case):
    def test_of_images_hold_marks_in_the_unit_of_their_scale(self):
        path = self.folder / "marked.tv1"
        tarnvisor.run(f"""open {still}
dim line 100,100 100,200
command "Calibrate magnification" "Known length=50" Unit=um
list 3
dim rect 10,20 30,60
save {path}""")
        document = tarnvisor.open_document(path)
        self.assertEqual((document.kind, document.scale, document.unit), ("image", (0.5, 0.5), "um"))
        line, rect = document.list(0)[0], document.list("nailfold")[-1]
        self.assertEqual((line.kind, line.length), ("line", 50.0))
        self.assertEqual((rect.kind, rect.area), ("rect", 200.0))
        self.assertEqual([len(marks) for marks in document.lists], [1, 0, 0, 1, 0, 0, 0, 0, 0])
        points, pixels = rect.points, document.image.pixels
        del document, line, rect
        gc.collect()
        self.assertEqual(points[0].tolist(), [10, 20])
        np.testing.assert_array_equal(pixels, tarnvisor.read_image(still).pixels)

    def test_of_charts_hold_traces_that_outlive_them(self):
        document = tarnvisor.open_document(exam / "pulse.zz1")
        self.assertEqual([trace.name for trace in document.traces], ["flow", "Doppler spectrum", "Doppler"])
        flow, spectrum = document.trace("flow"), document.traces[1]
        self.assertEqual((spectrum.samples.shape, spectrum.y_unit), ((999, 256), "kHz"))
        np.testing.assert_allclose(np.diff(flow.times()), flow.period)
        samples, values = flow.samples, flow.values()
        gain, origin = flow.gain, flow.origin
        self.assertTrue(np.shares_memory(samples, flow.samples))
        del document, flow, spectrum
        gc.collect()
        np.testing.assert_allclose(values, np.roll(samples, -origin) * gain)

    def test_that_are_cut_give_what_is_left_and_say_so(self):
        cut = tarnvisor.open_document(self.write("cut.zz1", (exam / "pulse.zz1").read_bytes()[:5000]))
        self.assertIn("Only a part", cut.messages)
        self.assertEqual([trace.name for trace in cut.traces], ["flow"])

    def test_of_results_hold_a_table(self):
        # The worked bytes of docs/formats/rst.md: one column "x", one row holding "1.0".
        table = tarnvisor.open_document(self.write("one.rst", bytes.fromhex(
            "0100 FFFF00000A0043636F6C666F726D6174 000001000178080007000100 FFFFFFFF"
            "0200000001000000 00 FFFFFFFF 00000000 01000000 0100 0100 03312E30"))).table
        self.assertEqual((table.columns, table[0], table.column("x").tolist()), (["x"], {"x": 1.0}, [1.0]))
        with self.assertRaises(KeyError):
            table.column("y")
        with self.assertRaises(IndexError):
            table[1]

    def test_that_can_not_be_read_say_why(self):
        for name, content in (("text.tv1", b"no document"), ("empty.dtv", b""), ("unknown.xyz", b"what is it?"),
                              ("pulse.tv1", (exam / "pulse.zz1").read_bytes())):
            with self.assertRaisesRegex(tarnvisor.Error, name):
                tarnvisor.open_document(self.write(name, content))
        document = tarnvisor.open_document(exam / "pulse.zz1")
        with self.assertRaises(KeyError):
            document.trace("none")
        with self.assertRaises(IndexError):
            document.list(0)
