#include "appinfo/splitstring.h"

#include <sstream>

std::vector<std::string> splitString(const std::string &text, char delimiter)
{
    std::vector<std::string> pieces;
    std::istringstream stream(text);
    std::string piece;
    while (std::getline(stream, piece, delimiter)) {
        if (!piece.empty()) {
            pieces.push_back(piece);
        }
    }
    return pieces;
}
