#pragma once
// PDF and SVG figures on Qt: QPdfWriter or QSvgGenerator painted with QPainter through a
// Canvas, so lines stay lines and texts stay (selectable) texts.

// Makes Qt the maker of every vector figure (see SetVectorFigureFactory).
void InstallQtFigureFactory();
