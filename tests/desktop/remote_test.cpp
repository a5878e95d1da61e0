// The window of files on a server.
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QSpinBox>
#include <QTreeWidget>

#include "desktop/dialogtest.h"
#include "desktop/remotewindow.h"
#include "remote/ftpfiles.h"
#include "support/ftpserver.h"

namespace tarnvisor {
namespace {

class ServerWindow : public DialogTest {
 protected:
  void SetUp() override {
    DialogTest::SetUp();
    browser.emplace(*app);
  }
  void TearDown() override {
    browser.reset();
    DialogTest::TearDown();
  }
  void wait() {
    while (browser->isBusy()) app->loop.turn();
  }
  FtpServer server;
  FtpFiles ftp{1};
  Host ports{host, host, host, host, host, host, host, host, host, ftp};
  HostScope scope{ports};
  std::optional<RemoteBrowser> browser;
};

TEST_F(ServerWindow, ConnectsShowsTheTreeAndHidesThePassword) {
  RemoteWindow window(*browser, nullptr);
  window.show();
  auto* tree = find<QTreeWidget>(window);
  EXPECT_EQ(tree->topLevelItem(0)->text(0), "No FTP connection.");
  EXPECT_FALSE(isEnabled(window, "Open"));
  server.listing = "drwxr-xr-x 2 o g 0 Jan 1 2024 sub\r\n-rw-r--r-- 1 o g 77 Jan 1 2024 a.bmp\r\n";
  find<QLineEdit>(window, "server")->setText("127.0.0.1");
  find<QSpinBox>(window)->setValue(server.port);
  find<QLineEdit>(window, "user")->setText("me");
  auto* password = find<QLineEdit>(window, "password");
  password->setText("secret");
  EXPECT_NE(password->displayText(), "secret");
  click(window, "Connect");
  EXPECT_EQ(password->text(), "") << "what is kept is not shown";
  EXPECT_TRUE(find<QProgressBar>(window)->isVisible());
  wait();
  ASSERT_EQ(tree->topLevelItemCount(), 1) << browser->status();
  ASSERT_EQ(tree->topLevelItem(0)->childCount(), 2);
  EXPECT_EQ(tree->topLevelItem(0)->child(0)->text(1), "<DIR>");
  EXPECT_FALSE(find<QProgressBar>(window)->isVisible());
}

TEST_F(ServerWindow, CancelEndsWhatHangsAtOnce) {
  server.mood = FtpServer::Mood::IsSilent;
  browser->server = "127.0.0.1";
  browser->port = server.port;
  RemoteWindow window(*browser, nullptr);
  window.show();
  EXPECT_FALSE(isEnabled(window, "Cancel"));
  click(window, "Connect");
  app->loop.turn();
  click(window, "Cancel");
  EXPECT_FALSE(browser->isBusy());
  EXPECT_EQ(find<QLabel>(window, "status")->text(), "cancelled");
  EXPECT_TRUE(isEnabled(window, "Connect"));
}

}  // namespace
}  // namespace tarnvisor
