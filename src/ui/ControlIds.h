#pragma once
// Control ids of every page and dialog. The end-to-end driver clicks and reads
// controls by these numbers, so they are fixed: never renumber, only append.
// Ranges: 1-99 are the system's own (IDOK, IDCANCEL, ...), each form has a
// block of 100.

namespace kv::ui::ids {

// Shared by all pages.
constexpr int ctlSideBar1 = 100;
constexpr int dLine = 101;
constexpr int bLine = 102;

// frmStart
constexpr int frmStart_lblTitle = 200;
constexpr int frmStart_lblWelcome = 201;
constexpr int frmStart_lblWelcome2 = 202;
constexpr int frmStart_lblContinue = 203;
constexpr int frmStart_lblNote = 204;
constexpr int frmStart_cmdNext = 210;
constexpr int frmStart_cmdCancel = 211;

// frmPath
constexpr int frmPath_lblText = 300;
constexpr int frmPath_Frame1 = 301;
constexpr int frmPath_txtPath = 302;
constexpr int frmPath_cmdChoose = 303;
constexpr int frmPath_Label1 = 304;
constexpr int frmPath_Command1 = 310;
constexpr int frmPath_Command5 = 311;

// frmLinks
constexpr int frmLinks_lblTitle = 400;
constexpr int frmLinks_lblWelcome = 401;
constexpr int frmLinks_optForMe = 402;
constexpr int frmLinks_optForAll = 403;
constexpr int frmLinks_chkStartmenu = 404;
constexpr int frmLinks_chkDesktop = 405;
constexpr int frmLinks_chkWinStart = 406;
constexpr int frmLinks_lineWinStart = 407;
constexpr int frmLinks_cmdNext = 410;

// frmInstalling
constexpr int frmInstalling_lblText = 500;
// The progress row of both progress pages.
constexpr int progress_barProgress = 501;
constexpr int progress_lblFile = 502;
constexpr int frmInstalling_cmdCancel = 510;

// frmOtherInstalled
constexpr int frmOtherInstalled_lblTitle = 600;
constexpr int frmOtherInstalled_lblText = 601;
constexpr int frmOtherInstalled_Label2 = 602;
constexpr int frmOtherInstalled_Label3 = 603;
constexpr int frmOtherInstalled_Label4 = 604;
constexpr int frmOtherInstalled_Command1 = 610;
constexpr int frmOtherInstalled_Command2 = 611;
constexpr int frmOtherInstalled_Command3 = 612;
constexpr int frmOtherInstalled_Command5 = 613;

// frmEULA
constexpr int frmEULA_Label1 = 700;
constexpr int frmEULA_txtEULA = 701;
constexpr int frmEULA_Label2 = 702;
constexpr int frmEULA_cmdYes = 710;
constexpr int frmEULA_cmdNo = 711;

// frmFinished
constexpr int frmFinished_lblTitle = 800;
constexpr int frmFinished_lblWelcome = 801;
constexpr int frmFinished_optRestart = 802;
constexpr int frmFinished_optSelf = 803;
constexpr int frmFinished_chkStartProg = 804;
constexpr int frmFinished_cmdNext = 810;

// frmMaintenance
constexpr int frmMaintenance_Label1 = 900;
constexpr int frmMaintenance_lblChoose = 901;
constexpr int frmMaintenance_Label2 = 902;
constexpr int frmMaintenance_Label3 = 903;
constexpr int frmMaintenance_Label4 = 904;
constexpr int frmMaintenance_Label5 = 905;
constexpr int frmMaintenance_Frame1 = 906;
constexpr int frmMaintenance_lblMore = 907;
constexpr int frmMaintenance_Command1 = 910;
constexpr int frmMaintenance_Command2 = 911;
constexpr int frmMaintenance_Command3 = 912;
constexpr int frmMaintenance_Command4 = 913;
constexpr int frmMaintenance_Command5 = 914;

// frmUninstall
constexpr int frmUninstall_lblPlease = 1000;

// frmConflict
constexpr int frmConflict_lblText = 1100;
constexpr int frmConflict_Label1 = 1101;
constexpr int frmConflict_txtOld = 1102;
constexpr int frmConflict_Label2 = 1103;
constexpr int frmConflict_txtNew = 1104;
constexpr int frmConflict_lblWhatDo = 1105;
constexpr int frmConflict_Command1 = 1110;
constexpr int frmConflict_Command2 = 1111;
constexpr int frmConflict_cmdCancel = 1112;

}  // namespace kv::ui::ids

// Window class names: one per form, so that a driver in another process can
// tell the pages apart (they all carry the same caption).
#define KV_FORM_CLASS_PREFIX L"KVSetup."
