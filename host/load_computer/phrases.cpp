#include "host/load_computer/phrases.h"

#include <array>

namespace simulate {
namespace {

using translations_t = std::array<std::string_view, LANGUAGES>;

// In the order of phrase_t. Texts that share a line must fit into it together, and all texts of a page into one
// message. That is why the Russian texts are abbreviated: each letter takes two bytes.
constexpr std::array<translations_t, static_cast<std::size_t>(phrase_t::COUNT)> WORDS = {{
    {"ON TIRES", "SOBRE NEUMÁTICOS", "SOBRE PNEUS", "轮胎支撑", "НА ШИНАХ", "SUR PNEUS"},
    {"OUTRIGGERS RETRACTED", "ESTABILIZADORES DENTRO", "ESTABILIZADORES DENTRO", "支腿收回", "ОПОРЫ ВТЯН.",
     "STABILISATEURS RENTRÉS"},
    {"OUTRIGGERS HALF", "ESTABILIZADORES A MEDIAS", "ESTABILIZADORES A MEIO", "支腿半伸", "ОПОРЫ ПОЛОВ.",
     "STABILISATEURS À DEMI"},
    {"OUTRIGGERS EXTENDED", "ESTABILIZADORES FUERA", "ESTABILIZADORES FORA", "支腿全伸", "ОПОРЫ ВЫДВ.",
     "STABILISATEURS SORTIS"},
    {"TIRES", "NEUMÁTICOS", "PNEUS", "轮胎", "ШИНЫ", "PNEUS"},
    {"RETRACTED", "DENTRO", "RECOLHIDOS", "收回", "ВТЯНУТЫ", "RENTRÉS"},
    {"HALF", "A MEDIAS", "A MEIO", "半伸", "НАПОЛОВИНУ", "À DEMI"},
    {"EXTENDED", "FUERA", "FORA", "全伸", "ВЫДВИНУТЫ", "SORTIS"},
    {"NO JIB", "SIN PLUMÍN", "SEM JIB", "无副臂", "БЕЗ ГУСЬКА", "SANS FLÉCHETTE"},
    {"JIB STOWED", "PLUMÍN PLEGADO", "JIB RECOLHIDO", "副臂收存", "ГУСЁК УЛОЖЕН", "FLÉCHETTE REPLIÉE"},
    {"LONG FLY #°", "PLUMÍN LARGO #°", "JIB LONGO #°", "长副臂#°", "ДЛИН. ГУСЁК #°", "FLÉCHETTE LONGUE #°"},
    {"SHORT FLY #°", "PLUMÍN CORTO #°", "JIB CURTO #°", "短副臂#°", "КОР. ГУСЁК #°", "FLÉCHETTE COURTE #°"},
    {"AUX HEAD OFF", "CABEZAL AUX. NO", "CABEÇA AUX. NÃO", "无辅助头", "ВСПОМ. НЕТ", "TÊTE AUX. NON"},
    {"AUX HEAD ON", "CABEZAL AUX. SÍ", "CABEÇA AUX. SIM", "有辅助头", "ВСПОМ. ЕСТЬ", "TÊTE AUX. OUI"},
    {"MAIN BOOM", "PLUMA PRINCIPAL", "LANÇA PRINCIPAL", "主臂", "СТРЕЛА", "FLÈCHE PRINCIPALE"},
    {"AUX HEAD", "CABEZAL AUXILIAR", "CABEÇA AUXILIAR", "辅助头", "ВСПОМ. ГОЛ.", "TÊTE AUXILIAIRE"},
    {"FLY", "PLUMÍN", "JIB", "副臂", "ГУСЁК", "FLÉCHETTE"},
    {"FRONT WINCH", "CABRESTANTE DEL.", "GUINCHO DIANTEIRO", "前卷扬", "ПЕР. ЛЕБЁДКА", "TREUIL AVANT"},
    {"REAR WINCH", "CABRESTANTE TRAS.", "GUINCHO TRASEIRO", "后卷扬", "ЗАДН. ЛЕБЁДКА", "TREUIL ARRIÈRE"},
    {"# PARTS OF LINE", "# RAMALES", "# PERNAS DE CABO", "倍率#", "КРАТНОСТЬ #", "# BRINS"},
    {"COUNTERWEIGHT", "CONTRAPESO", "CONTRAPESO", "有配重", "ПРОТИВОВЕС", "CONTREPOIDS"},
    {"NO COUNTERWEIGHT", "SIN CONTRAPESO", "SEM CONTRAPESO", "无配重", "БЕЗ ПРОТИВОВЕСА", "SANS CONTREPOIDS"},
    {"MAN BASKET", "CESTA", "CESTO", "载人吊篮", "ЛЮЛЬКА", "NACELLE"},
    {"NO MAN BASKET", "SIN CESTA", "SEM CESTO", "无吊篮", "БЕЗ ЛЮЛЬКИ", "SANS NACELLE"},
    {"BOOM TOGETHER", "PLUMA SINCR.", "LANÇA SINCR.", "同步伸缩", "СИНХРОННО", "FLÈCHE SYNCHRO"},
    {"BOOM MANUAL", "PLUMA MANUAL", "LANÇA MANUAL", "手动伸缩", "ПО СЕКЦИЯМ", "FLÈCHE MANUELLE"},
    {"FRONT", "FRENTE", "FRENTE", "前方", "СПЕРЕДИ", "AVANT"},
    {"FRONT ARC", "ARCO DELANTERO", "ARCO FRONTAL", "前弧", "ПЕР. ДУГА", "ARC AVANT"},
    {"SIDE", "LADO", "LADO", "侧方", "СБОКУ", "CÔTÉ"},
    {"REAR", "ATRÁS", "TRÁS", "后方", "СЗАДИ", "ARRIÈRE"},
    {"NEAR LIMIT", "CERCA LÍMITE", "PERTO LIMITE", "接近极限", "БЛИЗКО ПРЕДЕЛ", "PRÈS LIMITE"},
    {"OVERLOAD", "SOBRECARGA", "SOBRECARGA", "超载", "ПЕРЕГРУЗКА", "SURCHARGE"},
    {"TWO-BLOCK", "GANCHO ARRIBA", "GANCHO NO ALTO", "过卷", "КРЮК ВВЕРХУ", "CROCHET HAUT"},
    {"LIMIT SET", "LÍMITE FIJADO", "LIMITE FIXADO", "设定极限", "ПРЕДЕЛ ЗАДАН", "LIMITE FIXÉE"},
    {"SENSOR FAULT", "FALLO SENSOR", "FALHA SENSOR", "传感器故障", "СБОЙ ДАТЧИКА", "PANNE CAPTEUR"},
    {"SILENCED", "SILENCIADO", "SILENCIADO", "已静音", "БЕЗ ЗВУКА", "MUET"},
    {"NO ALARM", "SIN ALARMA", "SEM ALARME", "无报警", "НЕТ ТРЕВОГИ", "PAS D'ALARME"},
    {"NO CHOICE", "SIN OPCIÓN", "SEM OPÇÃO", "无选项", "НЕТ ВЫБОРА", "AUCUN CHOIX"},
    {"SWING IN DEGREES", "GIRO EN GRADOS", "GIRO EM GRAUS", "回转角度", "ПОВОРОТ В ГРАДУСАХ",
     "ROTATION EN DEGRÉS"},
    {"SWING AREA", "ZONA DE GIRO", "ZONA DE GIRO", "回转区域", "ЗОНА ПОВОРОТА", "ZONE DE ROTATION"},
    {"ARC OF THE CHART", "ARCO DE LA TABLA", "ARCO DA TABELA", "载荷表范围", "ДУГА ТАБЛИЦЫ", "ARC DU TABLEAU"},
    {"SELECTED", "ELEGIDO", "ESCOLHIDO", "已选", "ВЫБРАНО", "CHOISI"},
    {"CONFIGURATION", "CONFIGURACIÓN", "CONFIGURAÇÃO", "工况设置", "НАСТРОЙКА", "CONFIGURATION"},
    {"INFO #", "INFO #", "INFO #", "信息#", "ИНФО #", "INFO #"},
    {"ANGLE", "ÁNGULO", "ÂNGULO", "角度", "УГОЛ", "ANGLE"},
    {"RADIUS", "RADIO", "RAIO", "幅度", "ВЫЛЕТ", "PORTÉE"},
    {"EXTENSION", "EXTENSIÓN", "EXTENSÃO", "伸长", "ВЫДВИЖЕНИЕ", "EXTENSION"},
    {"SWING", "GIRO", "GIRO", "回转", "ПОВОРОТ", "ROTATION"},
    {"OFF", "NO", "NÃO", "关", "ВЫКЛ", "NON"},
    {"HOOK HEIGHT", "ALTURA DEL GANCHO", "ALTURA DO GANCHO", "吊钩高度", "ВЫСОТА КРЮКА", "HAUTEUR CROCHET"},
    {"HEAD HEIGHT", "ALTURA DE PUNTA", "ALTURA DA PONTA", "臂头高度", "ВЫСОТА ОГОЛОВКА", "HAUTEUR DE TÊTE"},
    {"LINE SPEED", "VELOCIDAD CABLE", "VELOCIDADE CABO", "绳速", "СКОРОСТЬ КАНАТА", "VITESSE CÂBLE"},
    {"PISTON", "PISTÓN", "PISTÃO", "无杆腔", "ПОРШЕНЬ", "PISTON"},
    {"ROD", "VÁSTAGO", "HASTE", "有杆腔", "ШТОК", "TIGE"},
    {"WIND", "VIENTO", "VENTO", "风速", "ВЕТЕР", "VENT"},
    {"PROGRAM", "PROGRAMA", "PROGRAMA", "程序", "ПРОГРАММА", "PROGRAMME"},
    {"LOAD CHART", "TABLA DE CARGA", "TABELA DE CARGA", "载荷表", "ТАБЛИЦА", "TABLEAU"},
    {"CALIBRATION", "CALIBRACIÓN", "CALIBRAÇÃO", "标定", "КАЛИБРОВКА", "ÉTALONNAGE"},
}};

}  // namespace

std::string_view Say(phrase_t text, unsigned language) {
  return WORDS[static_cast<std::size_t>(text)][language < LANGUAGES ? language : 0];
}

std::string Say(phrase_t text, unsigned language, const std::string& value) {
  std::string said(Say(text, language));
  const std::size_t at = said.find('#');
  if (at != std::string::npos) said.replace(at, 1, value);
  return said;
}

}  // namespace simulate
