// velmar-cli pdf: the options reach the file poppler reads, bad usage exits 2 with the usage
// line, and the writer's messages and the binary-file warning come out on stderr.
#include "export/PdfWriter.h"
#include "shell/cli/CliCommand.h"
#include "support/TempFolder.h"
#include "support/cliRuns.h"
#include "support/files.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

namespace velmar::cli {

namespace {

using test::TempFolder;

test::CliOutcome pdf(const std::vector<std::string>& args) {
    return test::runCommand(pdfCommand(), args);
}

std::string readText(const std::filesystem::path& p) {
    const std::vector<std::uint8_t> bytes = test::readFile(p);
    return {bytes.begin(), bytes.end()};
}

TEST(PdfCommand, OptionsReachTheFile) {
    TempFolder tmp;
    std::ofstream(tmp / "in.txt") << "Alpha beta\ngamma\n";
    const std::string out = (tmp / "out.pdf").string();
    const test::CliOutcome o = pdf({(tmp / "in.txt").string(),
                                    out,
                                    "--font",
                                    "Arial",
                                    "--size",
                                    "12",
                                    "--page-width",
                                    "6",
                                    "--page-height",
                                    "7",
                                    "--title",
                                    "Tt",
                                    "--subject",
                                    "Ss",
                                    "--keywords",
                                    "Kk",
                                    "--author",
                                    "Aa",
                                    "--creator",
                                    "Cc"});
    ASSERT_EQ(o.code, 0) << o.err;
    EXPECT_EQ(o.err, "");
    const std::string file = readText(out);
    for (const char* line :
         {"\r/BaseFont /Arial\r", "\r/F1 12 Tf\r1 0 0 1 50 464 Tm\r14.4 TL\r",
          "\r/MediaBox [ 0 0 432 504 ]\r", "\r/Title (Tt)\r/Subject (Ss)\r/Keywords (Kk)\r",
          "\r/Author (Aa)\r", "\r/Creator (Cc)\r", "\rT* (Alpha beta\r\n) Tj\r"})
        EXPECT_NE(file.find(line), std::string::npos) << line;

    if (!test::haveProgram("pdfinfo")) GTEST_SKIP() << "needs poppler-utils";
    const std::string info = (tmp / "info.txt").string();
    ASSERT_EQ(test::run("pdfinfo '" + out + "' > '" + info + "' 2>/dev/null"), 0);
    const std::string infoText = readText(info);
    for (const char* words : {"Pages:           1\n", "Page size:       432 x 504 pts\n",
                              "Title:           Tt\n", "Keywords:        Kk\n"})
        EXPECT_NE(infoText.find(words), std::string::npos) << words << infoText;
}

TEST(PdfCommand, UsageErrorsAndMessages) {
    TempFolder tmp;
    const std::string in = (tmp / "in.txt").string();
    const std::string out = (tmp / "out.pdf").string();
    std::ofstream(in) << "text\n";
    const std::string usage =
        "Usage: velmar-cli pdf IN OUT [--font NAME] [--size N] [--page-width IN] "
        "[--page-height IN] [--title T] [--subject S] [--keywords K] [--author A] [--creator C]\n";
    const struct {
        std::vector<std::string> args;
        int code;
        std::string err;
    } cases[] = {
        {{in},
         2,
         "velmar-cli pdf: give the text file to read and the PDF file to write.\n" + usage},
        {{in, out, "x"},
         2,
         "velmar-cli pdf: give the text file to read and the PDF file to write.\n" + usage},
        {{in, out, "--size", "4"},
         2,
         "velmar-cli pdf: --size takes a whole number from 5 to 75, not '4'.\n" + usage},
        {{in, out, "--page-width", "8.5"},
         2,
         "velmar-cli pdf: --page-width takes a whole number from 5 to 50, not '8.5'.\n" + usage},
        {{in, out, "--title"}, 2, "velmar-cli pdf: the option --title needs a value.\n" + usage},
        {{in, out, "--colour", "red"}, 2, "velmar-cli pdf: unknown option --colour.\n" + usage},
        {{"", out}, 1, "Velmar Kestrin: Please specify file names.\n"},
        {{in + "x", out}, 1, "Velmar Kestrin: warning: File '" + in + "x' does not exist.\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.args));
        const test::CliOutcome o = pdf(c.args);
        EXPECT_EQ(o.code, c.code);
        EXPECT_EQ(o.err, c.err);
        EXPECT_EQ(o.out, "");
        EXPECT_FALSE(std::filesystem::exists(out));
    }

    // A file with control bytes is converted all the same, after the warning.
    test::writeFile(tmp / "bin.dat", {'M', 'Z', 0, 1, 2, '\n'});
    const test::CliOutcome o = pdf({(tmp / "bin.dat").string(), out});
    EXPECT_EQ(o.code, 0);
    EXPECT_EQ(o.err, "Velmar Kestrin: warning: WARNING! Be careful when choosing ASCII files.\n");
    EXPECT_TRUE(std::filesystem::exists(out));
}

} // namespace
} // namespace velmar::cli
