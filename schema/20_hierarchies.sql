-- Coded hierarchies: the tree lives in the segmented code (rule "22222" unless set otherwise),
-- 是否明细 is 1 on a leaf, 级次 the level of the code. Each tree has three levels and one record
-- whose parent code does not exist.

-- Regions.
CREATE TABLE kmddq (
  地区ID INTEGER PRIMARY KEY,
  地区 TEXT,
  编码 TEXT,
  是否明细 INTEGER NOT NULL DEFAULT 1,
  级次 INTEGER,
  是否系统 INTEGER NOT NULL DEFAULT 0
);
INSERT INTO kmddq (地区ID, 地区, 编码, 是否明细, 级次, 是否系统) VALUES
  (1, '华东', '01', 0, 1, 1),
  (2, '江苏', '0101', 0, 2, 0),
  (3, '南京', '010101', 1, 3, 0),
  (4, '苏州', '010102', 1, 3, 0),
  (5, '浙江', '0102', 1, 2, 0),
  (6, '华南', '02', 0, 1, 0),
  (7, '广东', '0201', 1, 2, 0),
  (8, '海外办事处', '0901', 1, 2, 0);

-- Contact types; 属性 0 other, 1 supplier, 2 customer.
CREATE TABLE kmdlxlx (
  联系类型ID INTEGER PRIMARY KEY,
  联系类型 TEXT,
  编码 TEXT,
  是否明细 INTEGER NOT NULL DEFAULT 1,
  级次 INTEGER,
  属性 INTEGER NOT NULL DEFAULT 0,
  是否系统 INTEGER NOT NULL DEFAULT 0
);
INSERT INTO kmdlxlx (联系类型ID, 联系类型, 编码, 是否明细, 级次, 属性, 是否系统) VALUES
  (1, '供应商', '01', 0, 1, 1, 1),
  (2, '原料供应商', '0101', 0, 2, 1, 0),
  (3, '钢材供应商', '010101', 1, 3, 1, 0),
  (4, '塑料供应商', '010102', 1, 3, 1, 0),
  (5, '辅料供应商', '0102', 1, 2, 1, 0),
  (6, '客户', '02', 0, 1, 2, 0),
  (7, '国内客户', '0201', 1, 2, 2, 0),
  (8, '国外客户', '0202', 1, 2, 2, 0),
  (9, '其他', '03', 1, 1, 0, 0),
  (10, '临时往来', '0901', 1, 2, 0, 0);

-- Process categories.
CREATE TABLE KMDSRLB (
  类别ID INTEGER PRIMARY KEY,
  类别编码 TEXT,
  类别名称 TEXT,
  是否明细 INTEGER NOT NULL DEFAULT 1,
  级次 INTEGER,
  备注 TEXT,
  是否系统 INTEGER NOT NULL DEFAULT 0
);
INSERT INTO KMDSRLB (类别ID, 类别编码, 类别名称, 是否明细, 级次, 备注, 是否系统) VALUES
  (1, '01', '机加工', 0, 1, '', 1),
  (2, '0101', '车削', 0, 2, '', 0),
  (3, '010101', '粗车', 1, 3, '', 0),
  (4, '010102', '精车', 1, 3, '', 0),
  (5, '0102', '铣削', 1, 2, '', 0),
  (6, '02', '装配', 0, 1, '', 0),
  (7, '0201', '总装', 1, 2, '', 0),
  (8, '0202', '部装', 1, 2, '', 0),
  (9, '03', '检验', 1, 1, '', 0),
  (10, '0901', '外协加工', 1, 2, '外协', 0);
