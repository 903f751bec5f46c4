#include "report/page.h"

#include "console/clean_text.h"
#include "console/numbers.h"
#include "picture/histogram_picture.h"
#include "picture/svg_canvas.h"
#include "picture/ticks.h"
#include "report/style.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

namespace tool {

namespace {

constexpr PictureSize kPicture{420, 270, 12.5};

/* Deeper nodes are not moved further to the right. */
constexpr int kDeepestIndent = 12;

/* Layers of which a matrix is shown. */
constexpr std::size_t kMostInMatrix = 64;

/* Names keep their own direction of writing to themselves. */
std::string nameText(const std::string& name)
{
    return "<bdi>" + escapedText(name) + "</bdi>";
}

std::string figureText(double value)
{
    return std::isnan(value) ? "\xe2\x80\x93" : shortNumberText(value);
}

std::string counted(std::size_t count, const std::string& one)
{
    return groupedText(static_cast<double>(count)) + " " + one + (count == 1 ? "" : "s");
}

/* A table that scrolls by itself, with the keyboard too. */
class Table {
public:
    Table(const std::string& kind, const std::string& caption)
    {
        html_ = "<div class=\"wide\" role=\"region\" tabindex=\"0\" aria-label=\"" + escapedText(caption) +
                "\">\n<table class=\"" + kind + "\"><caption>" + escapedText(caption) + "</caption>\n";
    }

    void head(const std::vector<std::string>& cells)
    {
        html_ += "<thead><tr>";
        for (const std::string& cell : cells) {
            html_ += std::string("<th scope=\"col\"") + (&cell == &cells.front() ? " class=\"left\">" : ">") + cell + "</th>";
        }
        html_ += "</tr></thead>\n<tbody>\n";
    }

    void beginRow(const std::string& name, const std::string& attributes = {})
    {
        html_ += "<tr><th scope=\"row\"" + attributes + ">" + name + "</th>";
    }
    void cell(const std::string& text, const std::string& attributes = {})
    {
        html_ += "<td" + attributes + ">" + text + "</td>";
    }
    void endRow() { html_ += "</tr>\n"; }

    std::string finish() const { return html_ + "</tbody></table>\n</div>\n"; }

private:
    std::string html_;
};

std::string leftOutText(const ReportLayer& layer)
{
    constexpr std::size_t kMostListed = 8;
    std::string text;
    for (std::size_t i = 0; i < layer.excluded.size() && i < kMostListed; ++i) {
        text += (i == 0 ? "" : ", ") + shortNumberText(layer.excluded[i]);
    }
    return layer.excluded.size() > kMostListed ? text + ", \xe2\x80\xa6" : text;
}

std::string statisticsTable(const ReportImage& image)
{
    const auto& layers = image.layers;
    const bool leavesOut = std::any_of(layers.begin(), layers.end(), [](const auto& layer) { return !layer.excluded.empty(); });
    const bool skips = std::any_of(layers.begin(), layers.end(), [](const auto& layer) { return layer.skipX != 1 || layer.skipY != 1; });
    Table table("figures-of-layers", "Statistics of the layers of " + nameOf(image.node));
    std::vector<std::string> head{"Layer", "Type", "Pixels", "Minimum", "Maximum", "Mean", "Median", "Mode",
                                  "Standard deviation"};
    if (leavesOut) {
        head.push_back("Left out");
    }
    if (skips) {
        head.push_back("Looked at every");
    }
    table.head(head);
    for (const ReportLayer& layer : layers) {
        table.beginRow(nameText(nameOf(layer.node)));
        table.cell(escapedText(layer.pixelType));
        table.cell(layer.histogram ? groupedText(layer.histogram->total()) : "");
        const Esta_Statistics s = layer.statistics.value_or(Esta_Statistics{});
        for (const double value : {s.minimum, s.maximum, s.mean, s.median, s.mode, s.stddev}) {
            table.cell(layer.statistics ? figureText(value) : "");
        }
        if (leavesOut) {
            table.cell(leftOutText(layer));
        }
        if (skips) {
            table.cell(std::to_string(layer.skipX) + ", " + std::to_string(layer.skipY));
        }
        table.endRow();
    }
    return "<h3>Statistics</h3>\n" + table.finish();
}

std::string histogramFigures(const ReportImage& image)
{
    std::string html;
    for (const ReportLayer& layer : image.layers) {
        if (layer.histogram) {
            SvgCanvas canvas(kPicture.width, kPicture.height, SvgCanvas::Use::page, describeHistogram(*layer.histogram));
            drawHistogram(canvas, kPicture, *layer.histogram);
            html += "<figure>\n" + canvas.finish() + "</figure>\n";
        }
    }
    return html.empty() ? "" : "<h3>Histograms</h3>\n<div class=\"figures\">\n" + html + "</div>\n";
}

/* Every cell is shaded by the correlation: the covariances of layers of different spread cannot be compared. */
std::string matrixTable(const ReportImage& image, const std::string& caption, bool isCorrelation)
{
    const std::size_t size = std::min(image.covariance.size(), kMostInMatrix);
    Table table("matrix", caption);
    std::vector<std::string> head{"Layer"};
    for (std::size_t i = 0; i < size; ++i) {
        head.push_back(nameText(image.layerName(i)));
    }
    table.head(head);
    for (std::size_t row = 0; row < size; ++row) {
        table.beginRow(nameText(image.layerName(row)));
        for (std::size_t column = 0; column < size; ++column) {
            const double correlation = image.correlation(row, column);
            char text[64];
            std::snprintf(text, sizeof text, " class=\"%s\" style=\"--a:%.2f\"", correlation < 0 ? "against" : "with",
                          std::fabs(correlation));
            const std::string shade = std::isnan(correlation) ? "" : text;
            std::snprintf(text, sizeof text, "%.3f", correlation);
            table.cell(isCorrelation && !std::isnan(correlation) ? text
                       : isCorrelation                          ? "\xe2\x80\x93"
                                                                : figureText(image.covariance[row][column]),
                       shade);
        }
        table.endRow();
    }
    return table.finish();
}

std::string matrices(const ReportImage& image)
{
    if (image.covariance.empty()) {
        return "";
    }
    std::string html = "<h3>Covariance</h3>\n<p class=\"faint\">Shaded by correlation: blue where two layers rise together, "
                       "orange where one falls as the other rises.</p>\n";
    if (image.covariance.size() > kMostInMatrix) {
        html += "<p class=\"faint\">The first " + std::to_string(kMostInMatrix) + " of " +
                counted(image.covariance.size(), "layer") + ".</p>\n";
    }
    const std::string of = " of the layers of " + nameOf(image.node);
    return html + "<div class=\"matrices\">\n" + matrixTable(image, "Covariance" + of, false) +
           matrixTable(image, "Correlation" + of, true) + "</div>\n";
}

std::string imageSection(const ReportImage& image, std::size_t number)
{
    const std::string id = "image-" + std::to_string(number);
    std::string facts = image.extent.empty() ? "" : escapedText(image.extent) + ", ";
    facts += counted(image.layers.size(), "layer");
    const std::string name = image.node == ":" ? "The store itself" : nameText(nameOf(image.node));
    return "<section id=\"" + id + "\" aria-labelledby=\"" + id + "-name\">\n<h2 id=\"" + id + "-name\">" + name +
           "</h2>\n<p class=\"faint\">" + facts + "</p>\n" + (image.layers.empty() ? "" : statisticsTable(image)) +
           histogramFigures(image) + matrices(image) + "</section>\n";
}

std::string nodesSection(const ReportContents& contents)
{
    Table table("nodes", "Every node of the store, below its parent");
    table.head({"Name", "Type", "Bytes", "Modified"});
    for (const ReportNode& node : contents.nodes) {
        table.beginRow(node.depth == 0 ? "(root)" : nameText(node.name),
                       " style=\"--d:" + std::to_string(std::min(node.depth, kDeepestIndent)) + "\"");
        table.cell(nameText(node.type), " class=\"left\"");
        table.cell(groupedText(node.size));
        table.cell(timeText(node.modified));
        table.endRow();
    }
    const std::size_t missing = contents.nodeCount - contents.nodes.size();
    return "<section id=\"nodes\" aria-labelledby=\"nodes-name\">\n<h2 id=\"nodes-name\">Tree</h2>\n" + table.finish() +
           (missing > 0 ? "<p>And " + counted(missing, "node") + " more.</p>\n" : "") + "</section>\n";
}

std::string contentsList(const ReportContents& contents)
{
    std::string html = "<nav aria-label=\"Contents\"><ul>\n";
    for (std::size_t i = 0; i < contents.images.size(); ++i) {
        const std::string& node = contents.images[i].node;
        html += "<li><a href=\"#image-" + std::to_string(i + 1) + "\">" +
                (node == ":" ? "The store itself" : nameText(nameOf(node))) + "</a></li>\n";
    }
    return html + "<li><a href=\"#nodes\">Tree</a></li>\n</ul></nav>\n";
}

std::string remarksSection(const ReportContents& contents)
{
    if (contents.remarks.empty()) {
        return "";
    }
    std::string html = "<section class=\"remarks\" aria-label=\"Damage\"><p>Not all of the store can be read:</p>\n<ul>\n";
    for (const std::string& line : contents.remarks) {
        html += "<li>" + escapedText(line) + "</li>\n";
    }
    return html + "</ul></section>\n";
}

}  // namespace

std::string reportPage(const std::string& store, std::uintmax_t storeBytes, const ReportContents& contents)
{
    const std::string name = std::filesystem::path(store).filename().string();
    std::string html = "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                       "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
                       "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src "
                       "'unsafe-inline'\">\n<title>";
    html += escapedText(name) + "</title>\n<style>" + kPageStyle + "</style>\n</head>\n<body>\n<header>\n<h1>" +
            nameText(name) + "</h1>\n<p class=\"faint\">" + counted(contents.images.size(), "image") + ", " +
            counted(contents.nodeCount, "node") + ", " + groupedText(static_cast<double>(storeBytes)) +
            " bytes</p>\n</header>\n" + contentsList(contents) + "<main>\n" + remarksSection(contents);
    for (std::size_t i = 0; i < contents.images.size(); ++i) {
        html += imageSection(contents.images[i], i + 1);
    }
    return html + nodesSection(contents) + "</main>\n</body>\n</html>\n";
}

}  // namespace tool
