// qmhost preview: the first frame at a size of the caller's choice.
#include "command.h"

#include "parts/imagefile.h"
#include "parts/outputfile.h"
#include "parts/text.h"
#include "pictures.h"

namespace qmhost
{
namespace
{

class PreviewCommand : public Command
{
public:
    CLI::App* Declare(CLI::App& program) override
    {
        CLI::App* pApp = program.add_subcommand("preview", "Writes the first frame at a size of your choice");
        pApp->add_option("FILE", m_strFile, "MP4 file")->required();
        pApp->add_option("--size", m_strSize, "Width and height in pixels, such as 320x180")
            ->type_name("WxH")
            ->required()
            ->check(PictureSizeProblem, "");
        pApp->add_option("--out", m_strOut, "Image file, named *.png, *.tif or *.tiff")
            ->type_name("FILE.png")
            ->required()
            ->check([](const std::string& text) { return ImageFormatOf(text) ? "" : NameProblem(text); }, "");
        pApp->add_flag("--auto-contrast", m_bAutoContrast, "Stretch the range of brightness that the picture has");
        pApp->add_flag("--allow-blank", m_bAllowBlank, ALLOW_BLANK_HELP);
        return pApp;
    }

    void Run(const Session& session) override
    {
        InputFile file(session, m_strFile);
        RequirePictures(file, "preview", m_bAllowBlank);
        const InputFile::Preview preview = file.ReadPreview(*ParsePictureSize(m_strSize), m_bAutoContrast);
        WriteWholeFile(PathFromUtf8(m_strOut), EncodeImage(preview.m_view, *ImageFormatOf(m_strOut)));
    }

private:
    static std::string NameProblem(const std::string& text)
    {
        return Quoted(text) + " doesn't end in .png, .tif or .tiff";
    }

    std::string m_strFile;
    std::string m_strSize;
    std::string m_strOut;
    bool m_bAutoContrast = false;
    bool m_bAllowBlank = false;
};

}  // namespace

std::unique_ptr<Command> MakePreviewCommand()
{
    return std::make_unique<PreviewCommand>();
}

}  // namespace qmhost
