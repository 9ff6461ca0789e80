-- Flat dictionaries.
CREATE TABLE KMDJLDW (
  单位ID INTEGER PRIMARY KEY,
  代码 TEXT,
  名称 TEXT,
  是否系统 INTEGER NOT NULL DEFAULT 0
);
INSERT INTO KMDJLDW (单位ID, 代码, 名称, 是否系统) VALUES
  (1, 'PCS', '个', 1),
  (2, 'KG', '千克', 0),
  (3, 'M', '米', 0),
  (4, 'BOX', '箱', 0);

-- Salesmen (类型ID 1) and purchasers (类型ID 2).
CREATE TABLE KMDXSY (
  AutoID INTEGER PRIMARY KEY,
  代码 TEXT,
  名称 TEXT,
  电话号码 TEXT,
  类型ID INTEGER,
  是否系统 INTEGER NOT NULL DEFAULT 0
);
INSERT INTO KMDXSY (AutoID, 代码, 名称, 电话号码, 类型ID, 是否系统) VALUES
  (1, '000', '公司', '', 1, 1),
  (2, 'S01', '张三', '13800000001', 1, 0),
  (3, 'S02', '李四', '13800000002', 1, 0),
  (4, '000', '公司', '', 2, 1),
  (5, 'P01', '王五', '13900000001', 2, 0),
  (6, 'P02', '赵六', '13900000002', 2, 0);

-- Assignments of salesmen and purchasers to business partners.
CREATE TABLE KMDWlXsy (
  往来ID INTEGER,
  销售员ID INTEGER
);
INSERT INTO KMDWlXsy (往来ID, 销售员ID) VALUES
  (1, 2),
  (2, 2),
  (3, 3),
  (4, 5);

CREATE TABLE KMDZW (
  职务ID INTEGER PRIMARY KEY,
  编号 TEXT,
  职务 TEXT,
  是否系统 INTEGER NOT NULL DEFAULT 0
);
INSERT INTO KMDZW (职务ID, 编号, 职务, 是否系统) VALUES
  (1, '01', '总经理', 1),
  (2, '02', '经理', 0),
  (3, '03', '主管', 0);

CREATE TABLE KMDWHCD (
  文化程度ID INTEGER PRIMARY KEY,
  文化程度 TEXT,
  是否系统 INTEGER NOT NULL DEFAULT 0
);
INSERT INTO KMDWHCD (文化程度ID, 文化程度, 是否系统) VALUES
  (1, '本科', 1),
  (2, '大专', 0),
  (3, '高中', 0);

CREATE TABLE KMDZYLB (
  类别ID INTEGER PRIMARY KEY,
  类别代码 TEXT,
  职员类别 TEXT,
  是否系统 INTEGER NOT NULL DEFAULT 0
);
INSERT INTO KMDZYLB (类别ID, 类别代码, 职员类别, 是否系统) VALUES
  (1, '01', '正式工', 1),
  (2, '02', '合同工', 0),
  (3, '03', '临时工', 0);

CREATE TABLE KMDSKFS (
  收款方式ID INTEGER PRIMARY KEY,
  助忆词 TEXT,
  收款名称 TEXT,
  是否系统 INTEGER NOT NULL DEFAULT 0
);
INSERT INTO KMDSKFS (收款方式ID, 助忆词, 收款名称, 是否系统) VALUES
  (1, 'XJ', '现金', 1),
  (2, 'ZP', '支票', 0),
  (3, 'HP', '汇票', 0);

CREATE TABLE KMDHYFS (
  货运ID INTEGER PRIMARY KEY,
  简称 TEXT,
  货运方式 TEXT,
  是否系统 INTEGER NOT NULL DEFAULT 0
);
INSERT INTO KMDHYFS (货运ID, 简称, 货运方式, 是否系统) VALUES
  (1, 'ZT', '自提', 1),
  (2, 'QY', '汽运', 0),
  (3, 'TY', '铁运', 0);

CREATE TABLE KMDBillType (
  票据类型ID INTEGER PRIMARY KEY,
  票据类型代码 TEXT,
  票据类型名称 TEXT,
  是否系统 INTEGER NOT NULL DEFAULT 0
);
INSERT INTO KMDBillType (票据类型ID, 票据类型代码, 票据类型名称, 是否系统) VALUES
  (1, 'PT', '普通发票', 1),
  (2, 'ZZ', '增值税发票', 0),
  (3, 'SJ', '收据', 0);

CREATE TABLE KMDItem (
  项目ID INTEGER PRIMARY KEY,
  项目编号 TEXT,
  项目名称 TEXT,
  说明 TEXT,
  是否系统 INTEGER NOT NULL DEFAULT 0
);
INSERT INTO KMDItem (项目ID, 项目编号, 项目名称, 说明, 是否系统) VALUES
  (1, '001', '外观', '表面与颜色', 1),
  (2, '002', '尺寸', '长宽高', 0),
  (3, '003', '重量', '', 0);

CREATE TABLE KMDQMSPOItem (
  检验项目ID INTEGER PRIMARY KEY,
  项目编码 TEXT,
  项目名称 TEXT,
  包含内容 TEXT,
  说明 TEXT,
  是否系统 INTEGER NOT NULL DEFAULT 0
);
INSERT INTO KMDQMSPOItem (检验项目ID, 项目编码, 项目名称, 包含内容, 说明, 是否系统) VALUES
  (1, 'WG', '外观检验', '划痕、色差', '', 1),
  (2, 'CC', '尺寸检验', '长度、孔径', '抽检', 0),
  (3, 'CZ', '材质检验', '成分', '', 0);

CREATE TABLE KMDQMSCMItem (
  检验项目ID INTEGER PRIMARY KEY,
  项目编码 TEXT,
  项目名称 TEXT,
  包含内容 TEXT,
  说明 TEXT,
  是否系统 INTEGER NOT NULL DEFAULT 0
);
INSERT INTO KMDQMSCMItem (检验项目ID, 项目编码, 项目名称, 包含内容, 说明, 是否系统) VALUES
  (1, 'WG', '外观检验', '划痕、色差', '', 1),
  (2, 'GY', '工艺检验', '焊接、装配', '', 0),
  (3, 'BZ', '包装检验', '标签、数量', '', 0);
